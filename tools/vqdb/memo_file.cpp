#include "memo_file.h"

#include <limits>

#include "file_names.h"
#include "stop.h"
#include "working_block.h"

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
    : block_(working_block(table.header())),
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

// Others may have made the text longer since its size was asked for; then there is more than that.
int32_t MemoFile::read_dbase4(const char* reference, std::string& bytes) {
  int32_t size = 0;
  int32_t length = 0;
  do {
    int32_t result = dTmemosz(handle_, reference, &size);
    if (result != VQ_OK) return result;
    const int32_t room = size < std::numeric_limits<int32_t>::max() ? size + 1 : size;
    bytes.resize(static_cast<std::size_t>(room) + 1);
    result = dTgetmm(handle_, reference, 0, room, bytes.data(), &length, nullptr);
    if (result != VQ_OK) return result;
  } while (length > size);
  bytes.resize(static_cast<std::size_t>(length));
  return VQ_OK;
}

// A text that others write in the place of this one ends in the same block.
int32_t MemoFile::read_dbase3(const char* reference, std::string& bytes) {
  constexpr std::size_t kBlock = 512;
  int32_t length = 0;
  int32_t result = dTmemsz3(handle_, reference, &length);
  if (result != VQ_OK) return result;
  bytes.resize((static_cast<std::size_t>(length) / kBlock + 2) * kBlock);
  result = dTgetmm3(handle_, reference, 0, length, bytes.data(), &length, nullptr);
  bytes.resize(static_cast<std::size_t>(length));
  return result;
}

bool MemoFile::read(const char* reference, std::string& bytes) {
  bytes.clear();
  if (handle_ == nullptr) return false;
  const int32_t result =
      is_dbase3() ? read_dbase3(reference, bytes) : read_dbase4(reference, bytes);
  if (result == VQ_OK) return true;
  if (result == VQ_E_FILE_LOCKED) dUsetwait(block_.get(), 0);  // who has it has it for long
  why_ = words_of(result, block_->detail);
  bytes.clear();
  return false;
}

}  // namespace tool
