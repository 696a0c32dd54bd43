#pragma once

#include <Report.hpp>

#include <string>

/// The sections of the page, each as HTML; empty where the document has nothing for it.
namespace NORV::TaviTool::Report {

/// Heading, summary, facts and comparisons.
std::string titleSection(const Document& document);
/// Slices of two views beside each other, with a slider for each axis, and the data of the script.
std::string viewsSection(Session& session, const Document& document);
std::string figuresSection(Session& session, const Document& document);
/// The histogram with its classes.
std::string greyValuesSection(const Document& document);
/// How many objects there are of each size, and the table.
std::string objectsSection(const Document& document);
/// Times, throughput and parameters.
std::string stepsSection(const Document& document);

/// How many colours objects have; neighbours in number differ most.
inline constexpr SizeType numberOfColours = 24;

}  // namespace NORV::TaviTool::Report
