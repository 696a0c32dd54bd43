#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Names.hpp>
#include <Operator.hpp>
#include <TiffImageInformationReader.hpp>

#include <Files/FileStream.hpp>
#include <Files/Tiff/TiffDirectories.hpp>
#include <Files/Tiff/TiffFile.hpp>

namespace NORV::TaviOperators::TiffImageInformationReader {
namespace {

constexpr Impl::Names names{"TiffImageInformationReader"};

class Operator final : public TaviOperators::Operator<Operator> {
public:
  std::string getType() const override { return names.operatorType(); }

  void apply(SmartPointer<IComposite> composite) override {
    beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const std::string name = Impl::checkedName(parameter->inputFilename.value(), names);
    const Impl::TiffSource file(name, names.inApply());
    TiffImageInformationList images;
    const bool hasEnd = Impl::forEachDirectory(file, [&](TIFF* tiff) {
      if (isAborted()) {
        return false;
      }
      images.emplace_back(new TiffImageInformation);
      images.back()->read(tiff);
      return true;
    });
    file.require<Exceptions::FileRead>(hasEnd);
    if (parameter->outputTiffImageInformationList.value() == nullptr) {
      parameter->outputTiffImageInformationList = TiffImageInformationListPtr(new TiffImageInformationList);
    }
    parameter->outputTiffImageInformationList.value()->swap(images);
  }
};

// Not a template: whoever could construct it has it registered.
[[maybe_unused]] __attribute__((used)) void construct() {
  static_cast<void>(Operator());
  static_cast<void>(TiffImageInformationList());
}

}  // namespace
}  // namespace NORV::TaviOperators::TiffImageInformationReader
