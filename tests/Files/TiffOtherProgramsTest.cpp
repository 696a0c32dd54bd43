#include "TiffFiles.hpp"

#include <cstdio>

/// Files that other programs write are read, and ours are read by them.
namespace NORV::Tests {
namespace {

class TiffOtherPrograms : public TiffFiles {
protected:
  /// The interpreter that knows a module; empty if there is none.
  static std::string interpreterWith(const std::string& module) {
    for (const std::string interpreter : {"python3", "/usr/bin/python3"}) {
      if (std::system((interpreter + " -c 'import numpy, " + module + "' >/dev/null 2>&1").c_str()) == 0) {
        return interpreter;
      }
    }
    return {};
  }
  /// Whether a program ended without a failure.
  bool run(const std::string& interpreter, const std::string& program) const {
    writeFile(folder / "program.py", program);
    return std::system(("cd '" + folder.path() + "' && " + interpreter + " program.py").c_str()) == 0;
  }
  template <class T>
  static std::string numpyName() {
    return std::string(Tavi::typeName<T>).substr(6);
  }
};

TEST_F(TiffOtherPrograms, FilesOfTifffileAreRead) {
  const std::string python = interpreterWith("tifffile");
  if (python.empty()) {
    GTEST_SKIP() << "the Python module tifffile is not installed";
  }
  forEachTiffType([&]<class T>() {
    for (const std::string order : {"<", ">"}) {
      for (const std::string options : {"", ", rowsperstrip=2", ", bigtiff=True", ", metadata=None"}) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, order + options);
        ASSERT_TRUE(run(python, "import numpy, tifffile\na = (numpy.arange(7 * 5 * 3) * 40503).astype('" +
                                    numpyName<T>() +
                                    "').reshape(3, 5, 7)\na.tofile('raw')\ntifffile.imwrite('a.tif', a"
                                    ", byteorder='" +
                                    order + "', photometric='minisblack'" + options +
                                    ", resolution=(100, 50), resolutionunit=3)\n"));
        const auto parameter = toRead(folder / "a.tif");
        TaviOperators::DLL::TiffVolumeReader::Operator().apply(parameter);
        EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Tavi::Dimension<SizeType>(7, 5, 3));
        EXPECT_TRUE(bytesOf(voxelsRead<T>(parameter)) == readFile(folder / "raw"));
        EXPECT_EQ(parameter->outputVoxelSize_mm.value(), Tavi::Triple<float32>(0.1f, 0.2f, 0));
      }
    }
  });
}

TEST_F(TiffOtherPrograms, TifffileReadsOurFiles) {
  const std::string python = interpreterWith("tifffile");
  if (python.empty()) {
    GTEST_SKIP() << "the Python module tifffile is not installed";
  }
  forEachTiffType([&]<class T>() {
    const TestVolume<T> input({7, 5, 3}, regionLayout);
    input.fill(mixedValues<T>(97));
    const auto parameter = toWrite(folder / "a.tif", input);
    parameter->inputSoftware = std::string("maker");
    parameter->inputVoxelSize_mm = Tavi::Triple<float32>(0.1f, 0.2f, 0.3f);
    TaviOperators::DLL::TiffVolumeWriter::Operator().apply(parameter);
    writeFile(folder / "raw", bytesOf(input.voxels()));
    EXPECT_TRUE(run(python,
                    "import numpy, tifffile\nf = tifffile.TiffFile('a.tif')\na = numpy.stack([p.asarray() for p "
                    "in f.pages])\nassert a.shape == (3, 5, 7), a.shape\nassert a.dtype == '" +
                        numpyName<T>() +
                        "'\nassert a.tobytes() == open('raw', 'rb').read()\nt = f.pages[2].tags"
                        "\nassert t['Software'].value == 'maker'\nassert t['XResolution'].value == (100, 1)\n"
                        "assert t['ImageDescription'].value.startswith('<?xml')\n"));
  });
}

TEST_F(TiffOtherPrograms, FilesOfPillowAreReadAndOursByIt) {
  const std::string python = interpreterWith("PIL.Image");
  if (python.empty()) {
    GTEST_SKIP() << "the Python module PIL is not installed";
  }
  for (const std::string compression : {"raw", "tiff_lzw", "packbits", "tiff_adobe_deflate"}) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, compression);
    const auto save = [&](const std::string& tags) {
      return run(python,
                 "import numpy\nfrom PIL import Image\na = (numpy.arange(70 * 50 * 3) // 9 % "
                 "251).astype('uint8').reshape(3, 50, 70)\na.tofile('raw')\np = [Image.fromarray(s) for s in "
                 "a]\np[0].save('a.tif', save_all=True, append_images=p[1:], compression='" +
                     compression + "', dpi=(254, 127)" + tags + ")\n");
    };
    ASSERT_TRUE(save(", tiffinfo={277: 1}"));
    const auto parameter = toRead(folder / "a.tif");
    TaviOperators::DLL::TiffVolumeReader::Operator().apply(parameter);
    EXPECT_TRUE(bytesOf(voxelsRead<uint8>(parameter)) == readFile(folder / "raw"));
    EXPECT_EQ(parameter->outputVoxelSize_mm.value(), Tavi::Triple<float32>(0.1f, 0.2f, 0));
    // By itself it leaves out the count of samples, which is required here.
    ASSERT_TRUE(save(""));
    expectFailure<Exceptions::InvalidData>([&] { TaviOperators::DLL::TiffVolumeReader::Operator().apply(parameter); },
                                           "Missing TIF tag: TIFFTAG_SAMPLESPERPIXEL",
                                           "NORV::TaviOperators::TiffImageInformation::read");
  }
  const TestVolume<uint8> input({31, 17, 4});
  input.fill(mixedValues<uint8>(97));
  writeFile(folder / "raw", bytesOf(input.voxels()));
  for (const uint16 compression : {uint16{1}, uint16{5}}) {
    const auto parameter = toWrite(folder / "b.tif", input);
    parameter->inputCompression = compression;
    TaviOperators::DLL::TiffVolumeWriter::Operator().apply(parameter);
    EXPECT_TRUE(run(python,
                    "import numpy\nfrom PIL import Image, ImageSequence\nf = Image.open('b.tif')\na = "
                    "numpy.stack([numpy.array(s) for s in ImageSequence.Iterator(f)])\nassert a.shape == (4, 17, "
                    "31)\nassert a.tobytes() == open('raw', 'rb').read()\n"));
  }
}

}  // namespace
}  // namespace NORV::Tests
