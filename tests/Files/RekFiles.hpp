#pragma once

#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/RekFile.hpp"
#include "support/Volumes.hpp"

#include <RekHeaderComposite.hpp>
#include <RekReader.hpp>
#include <RekTypeReader.hpp>
#include <RekWriter.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

/// What the tests of the REK operators share.
namespace NORV::Tests {

using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Persistence::Data;

inline const std::string byteVolume = "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >";

class RekFiles : public testing::Test {
protected:
  std::string write(const std::string& bytes, const std::string& name = "volume.rek") const {
    writeFile(folder / name, bytes);
    return folder / name;
  }

  const TemporaryDirectory folder;
};

inline std::string bytesOf(const SmartPointer<TaviOperators::RekHeaderComposite<RecHeader_V260>>& header) {
  return SmartPointer<Data<std::string>>(header->getValue("header"))->getValue();
}

inline SmartPointer<TaviOperators::RekHeaderComposite<RecHeader_V260>> headerOf(const HeaderBytes& bytes) {
  const SmartPointer<TaviOperators::RekHeaderComposite<RecHeader_V260>> header(
      new TaviOperators::RekHeaderComposite<RecHeader_V260>);
  header->setValue("header", SmartPointer<IComposite>(new Data<std::string>(bytes.bytes())));
  return header;
}

/// The header that a writer makes of `header`, restated; `extension` is lower-cased.
inline HeaderBytes written(HeaderBytes header, uint16 code, const Extents& extents, const std::string& extension) {
  const auto [x, y, z] = extents;
  const auto width = static_cast<int32>(x), height = static_cast<int32>(y), depth = static_cast<int32>(z);
  const bool isShort = x <= 32767 && y <= 32767 && z <= 32767;
  header.code(code);
  if (extension == "rek") {
    header.longSize(width, height, depth);
    if (isShort) {
      header.shortSize(width, height, depth);
    }
  } else if (extension == "raw") {
    if (isShort) {
      header.shortSize(width, height, depth);
    } else {
      header.imageSize(width, height);
    }
  } else {
    header.longSize(width, height, depth);
    if (isShort) {
      header.shortSize(width, height, depth);
    } else if (depth == 1) {
      header.imageSize(width, height);
    }
  }
  return header;
}

inline SmartPointer<TaviOperators::RekTypeReader::Parameter> lookInto(const std::string& file) {
  const auto parameter = makeParameter<TaviOperators::RekTypeReader::Parameter>();
  parameter->inputFilename = file;
  createTyped("NORV::TaviOperators::RekTypeReader::Operator")->apply(parameter);
  return parameter;
}

/// The three descriptions of the extents in a header.
struct Fields {
  std::array<int32, 3> shortSize{}, longSize{};
  std::array<int32, 2> image{};

  HeaderBytes header(uint16 code) const {
    HeaderBytes bytes;
    bytes.code(code).shortSize(shortSize[0], shortSize[1], shortSize[2]);
    return bytes.longSize(longSize[0], longSize[1], longSize[2]).imageSize(image[0], image[1]);
  }
};

/// How a reader settles the extents: them, or a whole failure text.
struct Settled {
  std::optional<Extents> extents;
  std::string failure;  // behind the operator's name, unless the extents are no dimension at all
  bool isNegative = false;
};

using Candidates = std::array<std::array<int64, 3>, 3>;

/// The descriptions that count for the type reader or for the reader, or why they are none.
inline Settled describe(const Fields& fields, bool isTypeReader, Candidates& candidates) {
  const Candidates described{{{fields.shortSize[0], fields.shortSize[1], fields.shortSize[2]},
                              {fields.longSize[0], fields.longSize[1], fields.longSize[2]},
                              {fields.image[0], fields.image[1], 1}}};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto [x, y, z] = described[i];
    if (isTypeReader ? x != 0 && y != 0 && z != 0 : x > 0 && y > 0 && z > 0) {
      candidates[i] = described[i];
      if (x < 0 || y < 0 || z < 0) {
        return {std::nullopt,
                "NORV::Tavi::Dimension< NORV::int64 >::check invalid values detected ( " + std::to_string(x) + " , " +
                    std::to_string(y) + " , " + std::to_string(z) + " ) ",
                true};
      }
    }
  }
  return {};
}

/// The rules for the extents in their order, of the type reader or of the reader.
inline Settled settle(const Fields& fields, Tavi::SizeType dataSize, Tavi::SizeType width, bool isTypeReader) {
  Candidates candidates{};
  const Settled described = describe(fields, isTypeReader, candidates);
  if (described.isNegative) {
    return described;
  }
  std::array<bool, 3> fits{};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto [x, y, z] = candidates[i];
    // Small numbers only, so that no product overflows here.
    fits[i] = static_cast<Tavi::SizeType>(x * y * z) * width == dataSize;
  }
  for (std::size_t i = 0; i < 3; ++i) {
    if (fits[i]) {
      for (std::size_t j = i + 1; j < 3; ++j) {
        if (fits[j] && candidates[j] != candidates[i]) {
          return {std::nullopt, " the dimensions specified in the header are ambiguous"};
        }
      }
      return {Extents{static_cast<Tavi::SizeType>(candidates[i][0]), static_cast<Tavi::SizeType>(candidates[i][1]),
                      static_cast<Tavi::SizeType>(candidates[i][2])},
              ""};
    }
  }
  return {std::nullopt, " file size does not fit to the dimensions specified in the header"};
}

/// The rules for the extents where no size of a file decides.
inline Settled settleInOrder(const Fields& fields, bool isTypeReader) {
  Candidates candidates{};
  const Settled described = describe(fields, isTypeReader, candidates);
  if (described.isNegative) {
    return described;
  }
  for (const std::size_t i : {1u, 0u, 2u}) {
    const auto [x, y, z] = candidates[i];
    if (x * y * z != 0) {
      return {Extents{static_cast<Tavi::SizeType>(x), static_cast<Tavi::SizeType>(y), static_cast<Tavi::SizeType>(z)},
              ""};
    }
  }
  return {std::nullopt, " cannot read volume dimensions"};
}

/// Calls `act(fields, count)` for random fields out of few numbers, so that they often agree, with a count of voxels
/// that often fits one of them.
template <class Act>
void forManyFields(int cases, const Act& act) {
  std::mt19937 random(11);
  const std::array<int32, 9> numbers{-3, -1, 0, 1, 2, 3, 4, 6, 8};
  const auto number = [&] { return numbers[std::min<std::size_t>(random() % 13, 8)]; };
  for (int i = 0; i < cases; ++i) {
    Fields fields{{number(), number(), number()}, {number(), number(), number()}, {number(), number()}};
    if (random() % 4 == 0) {
      fields.longSize = fields.shortSize;
    }
    if (random() % 4 == 0) {
      fields.longSize[2] = 1;
      fields.image = {fields.longSize[0], fields.longSize[1]};
    }
    const std::array<int, 4> counts{fields.shortSize[0] * fields.shortSize[1] * fields.shortSize[2],
                                    fields.longSize[0] * fields.longSize[1] * fields.longSize[2],
                                    fields.image[0] * fields.image[1], 5};
    act(fields, static_cast<std::size_t>(std::max(1, counts[random() % 4])));
  }
}

}  // namespace NORV::Tests
