#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/KeyInfo.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The command-line host: lists, describes and runs the operators of the library, through its public headers only.
namespace NORV::TaviTool {

using Tavi::Dimension;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Position;
using Tavi::RegionOfInterest;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Persistence::IComposite;
using Tavi::Persistence::KeyDescription;
using Tavi::Persistence::KeyInfo;
using Tavi::Persistence::Takes;

using Json = nlohmann::ordered_json;

/// The command line asks for something that cannot be: status 2.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Something did not work: status 1. The hint says what the text cannot; it may be empty.
class Failure : public std::runtime_error {
public:
  explicit Failure(const std::string& text, std::string hint = {}) : std::runtime_error(text), _hint(std::move(hint)) {}
  const std::string& hint() const { return _hint; }

private:
  std::string _hint;
};

/// The user has ended the run: status 130, or the counterpart of another signal.
class Interrupted : public std::runtime_error {
public:
  Interrupted(const std::string& text, int signal) : std::runtime_error(text), _signal(signal) {}
  int signal() const { return _signal; }

private:
  int _signal;
};

/// "a, b, c"
std::string join(const std::vector<std::string>& words, const std::string& separator = ", ");

/// "256x256x128"
std::string toText(const Dimension<SizeType>& dimension);
std::string toText(const Position<SizeType>& position);

/// "1.5 GiB", "12 bytes"
std::string bytesText(double bytes);

}  // namespace NORV::TaviTool
