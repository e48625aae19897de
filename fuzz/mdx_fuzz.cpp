// Any bytes as an MDX file: opened in some mode, its tags listed, activated, walked, searched and,
// where the mode lets it, changed with keys taken from the input, dropped and made.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "vqdbsys.h"

namespace {

constexpr std::array<std::uint32_t, 4> kModes = {0, 4, 1, 0};
constexpr std::size_t kMaxKey = 128;
constexpr int kMaxSteps = 2000;
constexpr std::size_t kListEntry = 19;

struct Folder {
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "VQFUZZ.XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    path = pattern;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::filesystem::path path;
};

class Subject {
 public:
  Subject() {
    const char* const fields[] = {"NAME", "C10", "AMOUNT", "N10.2", "DUE", "D"};
    const std::string name = (folder_.path / "T").string();
    if (DBinit(&block_, 2) != 0 || dDcreat(&block_, name.c_str(), 3, fields) != 0) std::abort();
    table_ = dDopen(&block_, name.c_str(), 0, 4);
    if (table_ == nullptr) std::abort();
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
      const std::string record = std::string(" ") + letter + "                12.5019950101";
      if (dDapprec(table_, record.c_str()) != 0) std::abort();
    }
  }
  ~Subject() { dDclose(table_); }

  void run(const std::uint8_t* data, std::size_t size) {
    const std::string name = (folder_.path / "I.MDX").string();
    std::ofstream(name, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
    VqIndex* file = dXopen(table_, name.c_str(), kModes[data[0] % kModes.size()], 4);
    if (file == nullptr) return;
    std::memcpy(key_.data(), data + size - std::min(size, kMaxKey), std::min(size, kMaxKey));
    std::array<char, 47 * kListEntry> list;
    const std::int32_t tags = dXtags(file);
    dXsortag(file, list.data());
    for (std::int32_t i = 0; i < std::min(tags, 4); ++i) {
      const char* const tag = list.data() + static_cast<std::size_t>(i) * kListEntry + 4;
      if (VqIndex* const active = dXactidx(file, tag)) work(active);
      if (data[0] % 8 == 7) dXdeltag(file, tag);
    }
    dXindex(file, "FUZZED", "NAME", "C10", "AMOUNT > 0");
    if (VqIndex* const active = dXactidx(file, "FUZZED")) work(active);
    dXflush(file);
    dXclose(file);
    if (data[0] % 8 == 3) dXreindx(table_, name.c_str());
  }

 private:
  void work(VqIndex* tag) {
    std::array<char, 512> text;
    std::int32_t flags = 0;
    dXexpr(tag, text.data(), static_cast<std::int32_t>(text.size()), &flags);
    walk(tag, dXnxtkey);
    walk(tag, dXprvkey);
    std::uint32_t recno = 0;
    for (int round = 0; round < 40; ++round) {
      dXgetrno(tag, key_.data(), &recno);
      dXputkey(tag, key_.data(), static_cast<std::uint32_t>(round + 1));
      if (round % 3 == 0) dXrmkey(tag, key_.data(), static_cast<std::uint32_t>(round));
      std::array<char, kMaxKey> found;
      if (dXnxtkey(tag, found.data(), &recno) == 0 && round % 4 == 0) {
        dXrmkey(tag, found.data(), recno);
      }
      ++key_[static_cast<std::size_t>(round) % 7];
    }
    walk(tag, dXprvkey);
  }

  static void walk(VqIndex* tag, decltype(&dXnxtkey) step) {
    std::array<char, kMaxKey> key;
    std::uint32_t recno = 0;
    for (int steps = 0; steps < kMaxSteps && step(tag, key.data(), &recno) == 0; ++steps) {
    }
  }

  Folder folder_;
  VqBlock block_ = {};
  VqTable* table_ = nullptr;
  std::array<char, kMaxKey> key_ = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Subject subject;
  if (size > 1) subject.run(data, size);
  return 0;
}
