#pragma once

#include <Common.hpp>

namespace NORV::TaviTool {

/// The JSON Schema (draft 2020-12) of job files, generated from the keys of the operators: which there are, which are
/// required, what each takes. What depends on files or on other steps is checked when the job is.
Json jobSchema();

}  // namespace NORV::TaviTool
