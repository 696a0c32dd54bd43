// Runs a fuzz target on files, without a fuzzer:
//
//   replay_<Name> <file or folder>...     runs the target on each file
//   replay_<Name> --seeds <folder>        writes the inputs that the fuzzer begins with
#include "Fuzz.hpp"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;

void writeSeeds(const fs::path& folder) {
  fs::create_directories(folder);
  int number = 0;
  for (const std::string& seed : NORV::Fuzz::seeds()) {
    std::ofstream file(folder / ("seed-" + std::to_string(number++)), std::ios::binary);
    file.write(seed.data(), static_cast<std::streamsize>(seed.size()));
  }
  std::printf("%d seeds\n", number);
}

int replay(const fs::path& path) {
  if (fs::is_directory(path)) {
    int count = 0;
    for (const auto& entry : fs::directory_iterator(path)) {
      count += replay(entry.path());
    }
    return count;
  }
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 2 && arguments[0] == "--seeds") {
    writeSeeds(arguments[1]);
    return 0;
  }
  int count = 0;
  for (const std::string& argument : arguments) {
    count += replay(argument);
  }
  std::printf("%d files\n", count);
  return count > 0 ? 0 : 1;
}
