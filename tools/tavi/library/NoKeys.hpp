#pragma once

#include <Tavi/CompositeOfProperties.hpp>

#include <string>

namespace NORV::TaviTool {

/// The parameter object of work of the tool's own that is shown and interrupted like an operator.
class NoKeys final : public Tavi::Persistence::CompositeOfProperties<NoKeys> {
public:
  std::string getType() const override { return "NORV::TaviTool::NoKeys"; }
};

}  // namespace NORV::TaviTool
