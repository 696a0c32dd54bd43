#pragma once

#include <Tool/RunTool.hpp>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// One call for each operator of the library, and the files that they work on.
namespace NORV::HostTest {

struct OperatorCall {
  std::string op;
  std::vector<std::pair<std::string, std::string>> values;  ///< by key
};

/// The lines of `operator-calls.txt`: "<operator> key=value ...".
inline std::vector<OperatorCall> operatorCalls() {
  std::vector<OperatorCall> calls;
  std::istringstream lines(readFile(TAVI_OPERATOR_CALLS));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    OperatorCall call;
    words >> call.op;
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      call.values.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }
    calls.push_back(call);
  }
  return calls;
}

/// Writes the volumes, in all kinds of files, that the calls name; returns what went wrong.
inline std::string makeInputs() {
  std::string random, binary, labels;
  for (unsigned i = 0, state = 1; i < 8 * 6 * 4; ++i) {
    state = state * 1664525U + 1013904223U;
    random += static_cast<char>(state >> 24U);
    binary += static_cast<char>(state >> 31U);
    labels += static_cast<char>((state >> 24U) % 3);
  }
  writeFile("random.raw", random);
  writeFile("binary.raw", binary);
  writeFile("labels.raw", labels);
  writeFile("slice.raw", random.substr(0, 48));
  const std::vector<std::vector<std::string>> commands{
      {"convert", "random.raw:8x6x4:uint8", "u8.rek"},
      {"convert", "binary.raw:8x6x4:uint8", "binary.rek"},
      {"convert", "binary.raw:8x6x4:uint8", "mask.rek"},
      {"convert", "labels.raw:8x6x4:uint8", "labels.rek"},
      {"convert", "labels.raw:8x6x4:uint8", "index.rek"},
      {"convert", "slice.raw:8x6x1:uint8", "slice.rek"},
      {"run", "StaticCast", "inputVolume=u8.rek", "outputVolume=u16.rek:uint16"},
      {"run", "StaticCast", "inputVolume=u8.rek", "outputVolume=i16.rek:int16"},
      {"run", "StaticCast", "inputVolume=u8.rek", "outputVolume=f32.rek:float32"},
      {"run", "StaticCast", "inputVolume=slice.rek", "outputVolume=slice16.rek:uint16"},
      {"mask", "box", "3x3x1", "-o", "kernel.rek"},
      {"convert", "u8.rek", "u8.rek.gz"},
      {"convert", "u8.rek", "u8.rek.lz4"},
      {"convert", "u8.rek", "u8.vti"},
      {"convert", "u8.rek", "u8.tif"},
      {"convert", "slice.rek", "slice.png"},
      {"convert", "slice.rek", "slice.bmp"},
      {"convert", "slice16.rek", "slice.xsc"}};
  std::string complaints;
  for (const auto& command : commands) {
    complaints += runQuietly(command).err;
  }
  return complaints;
}

}  // namespace NORV::HostTest
