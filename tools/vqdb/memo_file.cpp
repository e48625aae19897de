#include "memo_file.h"

#include "file_names.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::uint32_t kReadOnlyShared = VQ_OPEN_READ_ONLY | VQ_OPEN_SHARED_CACHED;
constexpr std::uint8_t kFoxproMemo = 0xF5;
constexpr std::uint8_t kDbase4Bit = 0x08;

}  // namespace

std::string memo_path_of(const std::string& table_path, std::uint8_t version,
                         const std::string& memo_name) {
  const char* const extension = version == kFoxproMemo ? "fpt" : "dbt";
  const std::string wanted =
      memo_name.empty()
          ? replace_extension(table_path, extension)
          : with_extension(
                folder_of(memo_name).empty() ? folder_of(table_path) + memo_name : memo_name,
                extension);
  return find_file(wanted).value_or(wanted);
}

MemoFile::MemoFile(const Table& table)
    : block_(std::make_unique<VqBlock>(table.block())),
      version_(table.header().version),
      path_(memo_path_of(table.path(), version_, table.memo_name())) {
  if (!find_file(path_)) {
    why_ = fmt::format("memo file {} is missing", path_);
    return;
  }
  if (version_ == kFoxproMemo) {
    why_ = fmt::format("memo file {} has a layout that is not read", path_);
    return;
  }
  handle_ = is_dbase3() ? dTopen3(block_.get(), path_.c_str(), kReadOnlyShared)
                        : dTopen(block_.get(), path_.c_str(), kReadOnlyShared);
  if (handle_ == nullptr) {
    why_ = fmt::format("memo file {}: {}", path_, words_of(block_->result, block_->detail));
  }
}

MemoFile::~MemoFile() {
  if (handle_ != nullptr) is_dbase3() ? dTclose3(handle_) : dTclose(handle_);
}

bool MemoFile::is_dbase3() const { return (version_ & kDbase4Bit) == 0; }

bool MemoFile::read(const char* reference, std::string& bytes) {
  bytes.clear();
  if (handle_ == nullptr) return false;
  int32_t length = 0;
  int32_t result =
      is_dbase3() ? dTmemsz3(handle_, reference, &length) : dTmemosz(handle_, reference, &length);
  if (result == VQ_OK && length > 0) {
    bytes.resize(static_cast<std::size_t>(length) + 1);
    result = is_dbase3() ? dTgetmm3(handle_, reference, 0, length, bytes.data(), &length, nullptr)
                         : dTgetmm(handle_, reference, 0, length, bytes.data(), &length, nullptr);
  }
  if (result != VQ_OK) {
    why_ = words_of(result, block_->detail);
    bytes.clear();
    return false;
  }
  bytes.resize(static_cast<std::size_t>(length));
  return true;
}

}  // namespace tool
