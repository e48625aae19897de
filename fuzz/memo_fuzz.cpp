// Any bytes as a memo file of either layout: opened in some mode, read at some blocks, and, where
// the mode lets it, written to in every way. Whatever is acknowledged reads back, and goes on to do
// so whatever is written after it: no two texts of a run are the same, so that one memo on top of
// another shows, also where the file's own chain of free blocks is wrong.

#include <array>
#include <map>

#include "folder.h"
#include "vqdbsys.h"

namespace {

using vqdb::fuzz::expect;
using vqdb::fuzz::Step;

constexpr std::array<std::uint32_t, 5> kModes = {0, 2, 4, 1, 3};
constexpr std::int32_t kMaxRead = 70000;

class MemoFile {
 public:
  MemoFile(VqBlock& block, const std::string& path, bool dbase4, std::uint32_t mode)
      : dbase4_(dbase4),
        handle_(dbase4 ? dTopen(&block, path.c_str(), mode) : dTopen3(&block, path.c_str(), mode)) {
  }
  ~MemoFile() {
    if (handle_ != nullptr) dbase4_ ? dTclose(handle_) : dTclose3(handle_);
  }
  MemoFile(const MemoFile&) = delete;
  MemoFile& operator=(const MemoFile&) = delete;

  bool open() const { return handle_ != nullptr; }

  void run(const Step& step) {
    ++number_;
    const std::string text = text_of(step);
    std::string reference = reference_of(step);
    const bool is_own = written_.contains(reference);
    // What the file says is a memo may be any part of it.
    if (!is_own && step.action % 5 < 3) written_.clear();
    std::int32_t result = 0;
    switch (step.action % 5) {
      case 0:
        return write(text, reference);
      case 1:
        result = add(text, reference, is_own ? written_[reference] : "");
        break;
      case 2:
        result = update(text, reference);
        break;
      case 3:
        return read_piece(reference, step);
      default:
        read(reference);
        return;
    }
    if (result == 0) check(reference);
  }

 private:
  using Texts = std::map<std::string, std::string>;  // by reference

  std::string text_of(const Step& step) const {
    std::string text(1U + step.value * (step.action / 5U % 16U), '.');
    for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = static_cast<char>('0' + (number_ * 7U + i + i / 512U * number_) % 64U);
    }
    return text;
  }

  // One that was written in this run, or a block of the file.
  std::string reference_of(const Step& step) const {
    if (step.value % 4 != 0 && !written_.empty()) {
      return std::next(written_.begin(), static_cast<std::ptrdiff_t>(step.value % written_.size()))
          ->first;
    }
    std::string text =
        std::to_string(step.value % 5 == 0 ? 4294967040U + step.value : step.value / 4U);
    text.resize(10, ' ');
    return text;
  }

  void write(const std::string& text, std::string& reference) {
    reference.assign(10, ' ');
    const auto length = static_cast<std::int32_t>(text.size());
    const std::int32_t result = dbase4_ ? dTnewmm(handle_, 0, length, text.data(), reference.data())
                                        : dTputmm3(handle_, text.c_str(), reference.data());
    if (result != 0) return;
    // No memo that somebody has is handed out again.
    expect(!written_.contains(reference));
    written_[reference] = text;
    check(reference);
  }

  std::int32_t add(const std::string& text, std::string& reference, const std::string& before) {
    const std::string old = reference;
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t moved = 0;
    const std::int32_t result =
        dbase4_ ? dTaddmm(handle_, length, text.data(), reference.data(), &moved)
                : dTaddmm3(handle_, length, text.c_str(), reference.data(), &moved);
    if (result == 0) {
      const bool is_known = written_.erase(old) > 0;
      written_[reference] = is_known && dbase4_ ? before + text : text;
      if (!is_known && dbase4_) written_[reference] = read(reference);
      expect(written_[reference].ends_with(text));
    }
    return result;
  }

  std::int32_t update(const std::string& text, std::string& reference) {
    const std::string old = reference;
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t moved = 0;
    const std::int32_t result =
        dbase4_ ? dTupdmm(handle_, 0, length, text.data(), reference.data(), &moved)
                : dTupdmm3(handle_, 0, 0, text.c_str(), reference.data(), &moved);
    if (result == 0) {
      written_.erase(old);
      written_[reference] = text;
    } else {
      written_.erase(old);  // it may have failed on the way
    }
    return result;
  }

  // The memo just written, and with it all others.
  void check(const std::string& reference) {
    expect(written_.contains(reference));
    for (const auto& [known, text] : written_) expect(read(known) == text);
  }

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
    const std::int32_t max = std::min(1 + step.value * step.action, kMaxRead);
    std::vector<char> buffer(static_cast<std::size_t>(max) + 1);
    std::int32_t length = 0;
    std::int32_t done = 0;
    dTgetmm(handle_, reference.c_str(), step.value * 7, max, buffer.data(), &length, &done);
    expect(length >= 0 && length <= max);
  }

  bool dbase4_;
  VqMemo* handle_;
  unsigned number_ = 0;
  Texts written_;
};

}  // namespace

// An input is a byte for layout and mode, the steps, and the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vqdb::fuzz::Folder folder;
  static const std::string path = folder.file("M.DBT");
  vqdb::fuzz::Input input(data, size);
  const std::uint8_t kind = vqdb::fuzz::take_byte(input);
  const std::vector<Step> steps = vqdb::fuzz::take_steps(input);
  vqdb::fuzz::write_file(path, input);

  VqBlock block = {};
  block.kind = 2;
  block.memo_block_setting = 1;
  dTmemuse(&block, path.c_str());
  {
    MemoFile file(block, path, kind % 2 == 0, kModes[kind / 2 % kModes.size()]);
    for (const Step& step : steps) {
      if (file.open()) file.run(step);
    }
  }
  folder.clear();
  return 0;
}
