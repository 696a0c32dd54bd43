#pragma once

#include <DLL/Operator.hpp>

namespace NORV::TaviOperators::DLL {

class TAVI_OPERATORS_EXPORT BmpReader {
public:
  class TAVI_OPERATORS_EXPORT Operator : public DLL::Operator {
  public:
    Operator();
    Operator(const Operator&);
    ~Operator() override;
    Operator& operator=(const Operator&);

  protected:
    SmartPointer<IOperator> getOperatorFromParameterObject(SmartPointer<IComposite> parameter) const override;
  };
};

}  // namespace NORV::TaviOperators::DLL
