#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <string>

/// Values of keys that are neither numbers, texts nor volumes.
namespace NORV::TaviTool {

/// Whether the text is the name of a file that the value is taken from: its reader has an output of the same name, such
/// as the header of a REK file, the palette of a BMP file, the texts of a PNG file.
bool isFileOfObject(const KeyDescription& key, const std::string& text);

/// The value that such a file holds.
SmartPointer<IComposite> readObject(Session& session, const KeyDescription& key, const std::string& file);

/// The value that a text is: texts by keyword as "Title=Scan,Author=Me", triples as AxBxC. Throws UsageError, which
/// names the key, for any other.
SmartPointer<IComposite> parseObject(const SmartPointer<IComposite>& parameter, const KeyDescription& key,
                                     const std::string& text);

/// A transform that was computed, as the volume that operators take; empty for any other value.
SmartPointer<IVolume> matrixVolumeOf(const SmartPointer<IComposite>& value);

/// The text of a result in a file of that name, as JSON or as comma-separated values, a row for each record. Throws
/// UsageError for a value that is no list of records where the name ends in ".csv".
std::string resultText(const SmartPointer<IComposite>& value, const std::string& key, const std::string& file);

}  // namespace NORV::TaviTool
