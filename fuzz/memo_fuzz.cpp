// Any bytes as a memo file of either layout: opened in some mode, read at some blocks, and, where
// the mode lets it, written to in every way. Whatever is acknowledged must read back.

#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "vqdbsys.h"

namespace {

constexpr std::array<std::uint32_t, 5> kModes = {0, 2, 4, 1, 3};
constexpr std::size_t kStepBytes = 4;
constexpr std::size_t kMaxSteps = 24;
constexpr std::int32_t kMaxRead = 70000;

const std::string& memo_path() {
  // Never destroyed: it is needed when the program ends.
  static const std::string& path = *new std::string([] {
    std::string pattern = (std::filesystem::temp_directory_path() / "VQFUZZ.XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(std::filesystem::path(memo_path()).parent_path(), ignored);
    });
    return pattern + "/M.DBT";
  }());
  return path;
}

void expect(bool holds) {
  if (!holds) std::abort();
}

// What four bytes of an input ask for.
struct Step {
  std::uint8_t action;
  std::uint8_t block;
  std::uint8_t length;
  std::uint8_t factor;

  std::int32_t size() const { return 1 + length * (factor % 64); }
  std::string reference() const {
    std::string text = std::to_string(factor % 5 == 0 ? 4294967040u + block : block % 40u);
    text.resize(10, ' ');
    return text;
  }
};

class MemoFile {
 public:
  MemoFile(VqBlock& block, bool dbase4, std::uint32_t mode)
      : dbase4_(dbase4),
        handle_(dbase4 ? dTopen(&block, memo_path().c_str(), mode)
                       : dTopen3(&block, memo_path().c_str(), mode)) {}
  ~MemoFile() {
    if (handle_ != nullptr) dbase4_ ? dTclose(handle_) : dTclose3(handle_);
  }
  MemoFile(const MemoFile&) = delete;
  MemoFile& operator=(const MemoFile&) = delete;

  bool open() const { return handle_ != nullptr; }

  void run(const Step& step) {
    std::string reference = step.reference();
    const std::string text(static_cast<std::size_t>(step.size()), 'x');
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t moved = 0;
    std::int32_t result = 0;
    switch (step.action % 5) {
      case 0:
        reference.assign(10, ' ');
        result = dbase4_ ? dTnewmm(handle_, 0, length, text.data(), reference.data())
                         : dTputmm3(handle_, text.c_str(), reference.data());
        break;
      case 1:
        result = dbase4_ ? dTaddmm(handle_, length, text.data(), reference.data(), &moved)
                         : dTaddmm3(handle_, length, text.c_str(), reference.data(), &moved);
        break;
      case 2:
        result = dbase4_ ? dTupdmm(handle_, 0, length, text.data(), reference.data(), &moved)
                         : dTupdmm3(handle_, 0, 0, text.c_str(), reference.data(), &moved);
        break;
      case 3:
        read_piece(reference, step);
        return;
      default:
        read(reference);
        return;
    }
    if (result != 0) return;
    const std::string back = read(reference);
    expect(back.size() >= text.size() && back.ends_with(text));
    expect(step.action % 5 == 1 || back == text);
  }

 private:
  std::string read(const std::string& reference) {
    std::int32_t size = -1;
    std::int32_t length = -1;
    const std::int32_t sized = dbase4_ ? dTmemosz(handle_, reference.c_str(), &size)
                                       : dTmemsz3(handle_, reference.c_str(), &size);
    if (sized != 0) return {};
    expect(size >= 0);
    std::string text(static_cast<std::size_t>(size) + 1, '?');
    const std::int32_t got =
        dbase4_ ? dTgetmm(handle_, reference.c_str(), 0, size, text.data(), &length, nullptr)
                : dTgetmm3(handle_, reference.c_str(), 0, 0, text.data(), &length, nullptr);
    expect(got == 0 && length == size && text.back() == '\0');
    text.pop_back();
    return text;
  }

  void read_piece(const std::string& reference, const Step& step) {
    if (!dbase4_) return;
    const std::int32_t max = step.size() < kMaxRead ? step.size() : kMaxRead;
    std::vector<char> buffer(static_cast<std::size_t>(max) + 1);
    std::int32_t length = 0;
    std::int32_t done = 0;
    dTgetmm(handle_, reference.c_str(), step.length * 7, max, buffer.data(), &length, &done);
    expect(length >= 0 && length <= max);
  }

  bool dbase4_;
  VqMemo* handle_;
};

}  // namespace

// An input is a count of steps, the steps, the layout and mode, and the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t steps = data[0] % kMaxSteps;
  const std::uint8_t kind = data[1];
  const std::size_t file_at = 2 + steps * kStepBytes;
  if (size < file_at) return 0;
  std::ofstream(memo_path(), std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data + file_at),
             static_cast<std::streamsize>(size - file_at));

  VqBlock block = {};
  block.kind = 2;
  block.memo_block_setting = 1;
  dTmemuse(&block, memo_path().c_str());
  {
    MemoFile file(block, kind % 2 == 0, kModes[kind / 2 % kModes.size()]);
    for (std::size_t i = 0; file.open() && i < steps; ++i) {
      Step step;
      std::memcpy(&step, data + 2 + i * kStepBytes, sizeof step);
      file.run(step);
    }
  }
  // A gap that a wild end of the file asks for is not worth its blocks on the disk.
  if (std::filesystem::file_size(memo_path()) > 1 << 20) std::filesystem::remove(memo_path());
  return 0;
}
