// Any bytes as an NDX file: opened in some mode, then walked, searched and, where the mode lets it,
// changed, with keys taken from the input.

#include <unistd.h>

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
    const char* const fields[] = {"NAME", "C10"};
    const std::string name = (folder_.path / "T").string();
    if (dDcreat(&block_, name.c_str(), 1, fields) != 0) std::abort();
    table_ = dDopen(&block_, name.c_str(), 0, 1);
    if (table_ == nullptr) std::abort();
  }
  ~Subject() { dDclose(table_); }

  void run(const std::uint8_t* data, std::size_t size) {
    const std::string name = (folder_.path / "I.NDX").string();
    std::ofstream(name, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
    VqIndex* index = dNopen(table_, name.c_str(), kModes[data[0] % kModes.size()], 4);
    if (index == nullptr) return;
    std::array<char, kMaxKey> key = {};
    std::memcpy(key.data(), data + size - std::min(size, kMaxKey), std::min(size, kMaxKey));
    walk(index, dNnxtkey);
    walk(index, dNprvkey);
    std::uint32_t recno = 0;
    for (int round = 0; round < 40; ++round) {
      dNgetrno(index, key.data(), &recno);
      dNputkey(index, key.data(), static_cast<std::uint32_t>(round + 1));
      if (round % 3 == 0) dNrmkey(index, key.data(), static_cast<std::uint32_t>(round));
      dNnxtkey(index, key.data(), &recno);
      if (round % 4 == 0) dNrmkey(index, key.data(), recno);
      ++key[static_cast<std::size_t>(round) % 7];
    }
    dNflush(index);
    walk(index, dNprvkey);
    dNclose(index);
  }

 private:
  static void walk(VqIndex* index, decltype(&dNnxtkey) step) {
    std::array<char, kMaxKey> key;
    std::uint32_t recno = 0;
    for (int steps = 0; steps < kMaxSteps && step(index, key.data(), &recno) == 0; ++steps) {
    }
  }

  Folder folder_;
  VqBlock block_ = {};
  VqTable* table_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Subject subject;
  if (size > 1) subject.run(data, size);
  return 0;
}
