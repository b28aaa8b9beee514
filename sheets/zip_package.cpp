#include "sheets/zip_package.h"

#include <zip.h>

#include <algorithm>

#include "mox/foundation/error.h"

namespace mox {
namespace {

// Sheets shrink to a tenth, those of equal cells to a hundredth; a bomb to a thousandth.
constexpr std::uint64_t kMegabyte = 1024 * 1024;
constexpr std::uint64_t kAlways = 64 * kMegabyte;
constexpr std::uint64_t kMostTimes = 200;
constexpr std::uint64_t kNeverMore = 4096 * kMegabyte;
constexpr std::uint64_t kSmallPart = 64 * kMegabyte;

constexpr const char* kSaveAgain = "; open it with the spreadsheet and save it again";

class PartSource : public ByteSource {
 public:
  PartSource(const ZipPackage& package, std::string name, zip_file_t* file, std::uint64_t most)
      : package_(package), name_(std::move(name)), file_(file), most_(most) {}
  ~PartSource() override { zip_fclose(file_); }
  PartSource(const PartSource&) = delete;
  PartSource& operator=(const PartSource&) = delete;

  std::size_t Read(char* buffer, std::size_t size) override {
    const zip_int64_t count = zip_fread(file_, buffer, size);
    if (count < 0) package_.Damaged(name_, zip_file_strerror(file_));
    read_ += static_cast<std::uint64_t>(count);
    if (read_ > most_) {
      throw Error(package_.Label() + ": " + name_ + " expands to more than " +
                  std::to_string(most_ / kMegabyte) + " MB, which is too much for a file of its size" +
                  kSaveAgain);
    }
    return static_cast<std::size_t>(count);
  }

 private:
  const ZipPackage& package_;
  std::string name_;
  zip_file_t* file_;
  std::uint64_t most_;
  std::uint64_t read_ = 0;
};

std::string TextOf(zip_error_t& error) {
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

}  // namespace

ZipPackage::ZipPackage(std::string_view bytes, std::string label)
    : label_(std::move(label)),
      most_(std::min(kNeverMore, kAlways + kMostTimes * static_cast<std::uint64_t>(bytes.size()))),
      archive_(nullptr) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* const source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
  if (source != nullptr) archive_ = zip_open_from_source(source, ZIP_RDONLY, &error);
  if (archive_ != nullptr) {
    zip_error_fini(&error);
    return;
  }
  if (source != nullptr) zip_source_free(source);
  throw Error(label_ + ": the file is damaged or incomplete (" + TextOf(error) + ")" + kSaveAgain);
}

ZipPackage::~ZipPackage() { zip_discard(archive_); }

bool ZipPackage::Has(const std::string& name) const {
  return zip_name_locate(archive_, name.c_str(), ZIP_FL_NOCASE) >= 0;
}

std::unique_ptr<ByteSource> ZipPackage::Open(const std::string& name) const {
  const zip_int64_t index = zip_name_locate(archive_, name.c_str(), ZIP_FL_NOCASE);
  if (index < 0) Damaged(name, "the part is missing");
  zip_file_t* const file = zip_fopen_index(archive_, static_cast<zip_uint64_t>(index), 0);
  if (file == nullptr) {
    if (zip_error_code_zip(zip_get_error(archive_)) == ZIP_ER_NOPASSWD) {
      throw Error(label_ + ": the file is protected by a password; save it without one");
    }
    Damaged(name, zip_strerror(archive_));
  }
  return std::make_unique<PartSource>(*this, name, file, most_);
}

std::string ZipPackage::Read(const std::string& name) const {
  const std::unique_ptr<ByteSource> source = Open(name);
  std::string bytes;
  char block[16 * 1024];
  while (const std::size_t count = source->Read(block, sizeof block)) {
    bytes.append(block, count);
    if (bytes.size() > kSmallPart) Damaged(name, "the part is too large");
  }
  return bytes;
}

void ZipPackage::Damaged(const std::string& part, const std::string& what) const {
  throw Error(label_ + ": the file is damaged (" + part + ": " + what + ")" + kSaveAgain);
}

}  // namespace mox
