#include "VtiFiles.hpp"

#include <cstdlib>
#include <map>

namespace NORV::Tests {
namespace {

/// Writes an image of 5 x 4 x 3 voxels i * 7 % 101 in all forms, or reads files and writes their voxels as raw bytes.
const std::string script = R"(
import sys
from vtkmodules.vtkCommonCore import *
from vtkmodules.vtkCommonDataModel import vtkImageData
from vtkmodules.vtkIOXML import vtkXMLImageDataReader, vtkXMLImageDataWriter
folder = sys.argv[2]
types = {'Int8': vtkSignedCharArray, 'UInt8': vtkUnsignedCharArray, 'Int16': vtkShortArray,
         'UInt16': vtkUnsignedShortArray, 'Int32': vtkIntArray, 'UInt32': vtkUnsignedIntArray,
         'Float32': vtkFloatArray, 'Float64': vtkDoubleArray}
if sys.argv[1] == 'write':
    for name, Array in types.items():
        image = vtkImageData()
        image.SetDimensions(5, 4, 3)
        image.SetSpacing(0.5, 1.25, 2)
        image.SetOrigin(-1, 0, 7.5)
        array = Array()
        array.SetName('grey values')
        for i in range(60):
            array.InsertNextValue(i * 7 % 101)
        image.GetPointData().SetScalars(array)
        for form in ['ascii', 'binary', 'appended']:
            for compressed in ['plain', 'blocks', 'block']:
                writer = vtkXMLImageDataWriter()
                writer.SetInputData(image)
                writer.SetHeaderTypeToUInt32()
                writer.EncodeAppendedDataOn()
                {'ascii': writer.SetDataModeToAscii, 'binary': writer.SetDataModeToBinary,
                 'appended': writer.SetDataModeToAppended}[form]()
                if compressed == 'plain':
                    writer.SetCompressorTypeToNone()
                else:
                    writer.SetCompressorTypeToZLib()
                    writer.SetBlockSize(32 if compressed == 'blocks' else 65536)
                writer.SetFileName(folder + '/' + name + '-' + form + '-' + compressed + '.vti')
                if not writer.Write():
                    sys.exit(1)
elif sys.argv[1] == 'read':
    for name in sys.argv[3:]:
        reader = vtkXMLImageDataReader()
        reader.SetFileName(folder + '/' + name)
        reader.Update()
        image = reader.GetOutput()
        array = image.GetPointData().GetScalars()
        with open(folder + '/' + name + '.txt', 'w') as file:
            print(*image.GetDimensions(), *image.GetSpacing(), *image.GetOrigin(), array.GetDataTypeAsString(),
                  file=file)
            for i in range(array.GetNumberOfTuples()):
                print(repr(array.GetTuple1(i)), file=file)
)";

class VtiToolkit : public VtiFiles {
protected:
  void SetUp() override {
    writeFile(folder / "toolkit.py", script);
    if (!run("none")) {
      GTEST_SKIP() << "/usr/bin/python3 has no vtkmodules: install python3-vtk9 to run this test";
    }
  }
  bool run(const std::string& arguments) const {
    const std::string command =
        "/usr/bin/python3 '" + folder / "toolkit.py" + "' " + arguments + " '" + folder.path() + "'" + _files + " 2>&1";
    return std::system(command.c_str()) == 0;
  }
  std::string _files;
};

TEST_F(VtiToolkit, ReadsWhatTheToolkitWrites) {
  ASSERT_TRUE(run("write"));
  forEachVoxelType([this]<class T>() {
    std::vector<T> voxels;
    for (int i = 0; i < 60; ++i) {
      voxels.push_back(static_cast<T>(i * 7 % 101));
    }
    for (const std::string form : {"ascii", "binary", "appended"}) {
      for (const std::string compressed : {"plain", "blocks", "block"}) {
        const std::string file = std::string(vtiType<T>()) + "-" + form + "-" + compressed + ".vti";
        const testing::ScopedTrace trace(__FILE__, __LINE__, file);
        const auto parameter = readVti(folder / file);
        EXPECT_EQ(parameter->outputVolume.value()->getDimension(), Dimension<SizeType>(5, 4, 3));
        EXPECT_EQ(parameter->outputSpacing.value(), Triple<double>(0.5, 1.25, 2));
        EXPECT_EQ(parameter->outputOrigin.value(), Triple<double>(-1, 0, 7.5));
        expectSameVoxels(voxelsRead<T>(parameter), voxels);
      }
    }
  });
}

TEST_F(VtiToolkit, WritesWhatTheToolkitReads) {
  const std::map<std::string, std::string> names{
      {"Int8", "signed char"}, {"UInt8", "unsigned char"}, {"Int16", "short"},   {"UInt16", "unsigned short"},
      {"Int32", "int"},        {"UInt32", "unsigned int"}, {"Float32", "float"}, {"Float64", "double"}};
  std::map<std::string, std::string> expected;
  forEachVoxelType([&]<class T>() {
    const TestVolume<T> input({5, 4, 3}, regionLayout);
    std::vector<T> voxels;
    std::string text = "5 4 3 0.5 1.25 2.0 -1.0 0.0 7.5 " + names.at(vtiType<T>()) + "\n";
    for (int i = 0; i < 60; ++i) {
      const T value = static_cast<T>(std::is_signed_v<T> ? i - 30 : 4 * i);
      voxels.push_back(value);
      text += std::to_string(static_cast<int>(value)) + ".0\n";
    }
    input.fill(voxels);
    for (const std::string format : {"ascii", "binary", "appended"}) {
      for (const bool isCompressed : {false, true}) {
        const std::string file = std::string(vtiType<T>()) + "-" + format + (isCompressed ? "-blocks.vti" : ".vti");
        const auto parameter = writeRequest(folder / file, input, format, isCompressed);
        parameter->inputSpacing = Triple<double>(0.5, 1.25, 2);
        parameter->inputOrigin = Triple<double>(-1, 0, 7.5);
        writeVti(parameter);
        _files += " " + file;
        expected[file] = text;
      }
    }
  });
  ASSERT_TRUE(run("read"));
  for (const auto& [file, text] : expected) {
    EXPECT_EQ(readFile(folder / (file + ".txt")), text) << file;
  }
}

}  // namespace
}  // namespace NORV::Tests
