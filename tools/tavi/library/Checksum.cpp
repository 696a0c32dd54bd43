#include <Checksum.hpp>
#include <NoKeys.hpp>

#include <openssl/evp.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace NORV::TaviTool {
namespace {

constexpr std::size_t pieceBytes = std::size_t{1} << 20;

class Digest final : public IOperator {
public:
  explicit Digest(const std::string& file)
      : _file(file),
        _stream(std::fopen(file.c_str(), "rbe"), &std::fclose),
        _context(EVP_MD_CTX_new(), &EVP_MD_CTX_free) {
    struct stat status {};
    if (_stream == nullptr || ::fstat(::fileno(_stream.get()), &status) != 0) {
      throw Failure(file + ": cannot be read", std::strerror(errno));
    }
    _bytes = static_cast<double>(status.st_size);
    require(_context != nullptr && EVP_DigestInit_ex(_context.get(), EVP_sha256(), nullptr) == 1);
  }

  void apply(SmartPointer<IComposite>) override {
    std::vector<unsigned char> piece(pieceBytes);
    while (!_aborted) {
      const std::size_t read = std::fread(piece.data(), 1, piece.size(), _stream.get());
      require(EVP_DigestUpdate(_context.get(), piece.data(), read) == 1);
      _read = _read + static_cast<double>(read);
      if (read < piece.size()) {
        break;
      }
    }
    if (std::ferror(_stream.get()) != 0) {
      throw Failure(_file + ": cannot be read", std::strerror(errno));
    }
  }
  Tavi::Progress getProgress() const override { return Tavi::Progress(_read < _bytes ? _read / _bytes : 1.0); }
  void abort() override { _aborted = true; }

  std::string text() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    require(EVP_DigestFinal_ex(_context.get(), digest.data(), &size) == 1);
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
      std::array<char, 4> hex{};
      std::snprintf(hex.data(), hex.size(), "%02x", static_cast<unsigned>(digest.at(i)));
      text += hex.data();
    }
    return text;
  }

private:
  static void require(bool isDone) {
    if (!isDone) {
      throw Failure("the checksum of a file cannot be computed");
    }
  }

  std::string _file;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> _stream;
  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> _context;
  double _bytes = 0.0;
  std::atomic<double> _read{0.0};
  std::atomic<bool> _aborted{false};
};

}  // namespace

std::string sha256Of(Session& session, const std::string& file) {
  Digest digest(file);
  session.run("Checksum", digest, SmartPointer<IComposite>(new NoKeys), "checksum of " + file);
  return digest.text();
}

Json fileJson(Session& session, const std::string& file) {
  Json json{{"file", file}};
  struct stat status {};
  if (::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    json["bytes"] = status.st_size;
    json["sha256"] = sha256Of(session, file);
  }
  return json;
}

}  // namespace NORV::TaviTool
