#pragma once

#include <string>

namespace NORV::TaviOperators::Impl {

/// The beginnings of identifiers and failure texts from an operator's name. Give it another operator's name where the
/// texts say so.
class Names {
public:
  constexpr explicit Names(const char* op) : _operator(op) {}

  /// "NORV::TaviOperators::<Op>::Operator::apply" and what follows it.
  std::string inApply(const std::string& words = {}) const { return operatorType() + "::apply" + words; }
  /// "NORV::TaviOperators::DLL::<Op>::Operator::getOperatorTypeFromParameterObject: " and what follows it. `Operator`
  /// is `IOperator` in some texts.
  std::string inFrame(const std::string& words, const char* frameClass = "Operator") const {
    return scope("NORV::TaviOperators::DLL::") + frameClass + "::getOperatorTypeFromParameterObject: " + words;
  }
  std::string operatorType() const { return scope("NORV::TaviOperators::") + "Operator"; }
  std::string parameterType() const { return scope("NORV::TaviOperators::") + "Parameter"; }

private:
  std::string scope(const char* outer) const { return outer + std::string(_operator) + "::"; }

  const char* _operator;
};

}  // namespace NORV::TaviOperators::Impl
