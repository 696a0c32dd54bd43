#pragma once

#include <Common.hpp>

#include <string>

/// Values of parameter objects as text and as JSON.
namespace NORV::TaviTool {

/// The `Data` of that type name ("NORV::uint8", "bool", "std::string") with the value of `text`. Throws UsageError,
/// which names the key, where the text is no such value.
SmartPointer<IComposite> parseData(const std::string& key, const std::string& typeName, const std::string& text);

/// "AxBxC" as the triple, position or dimension that `node` is, "AxBxC+x+y+z" as the region that it is.
void parseInto(const std::string& key, const SmartPointer<IComposite>& node, const std::string& text);

/// "256x256x128"; throws UsageError, which names the key.
Dimension<SizeType> parseDimension(const std::string& key, const std::string& text);

/// How to write a value of that kind on the command line.
const char* syntaxOf(Takes takes);

/// "NORV::uint8" of "NORV::Tavi::Persistence::Data< NORV::uint8 >"; empty for what is no Data.
std::string dataTypeOf(const SmartPointer<IComposite>& value);

std::string valueText(const SmartPointer<IComposite>& value);
Json valueJson(const SmartPointer<IComposite>& value);

/// A number for JSON, which knows no NaN and no infinity: those become text.
Json numberJson(double number);

/// "uint16 256x256x128"
std::string volumeText(const IVolume& volume);
Json volumeJson(const IVolume& volume);

}  // namespace NORV::TaviTool
