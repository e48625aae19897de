// A folder of its own for each run of a target, which goes with it, and what goes into it.
#ifndef VQDBSYS_FUZZ_FOLDER_H_
#define VQDBSYS_FUZZ_FOLDER_H_

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

namespace vqdb::fuzz {

using Input = std::span<const std::uint8_t>;

class Folder {
 public:
  Folder() {
    path_ = (std::filesystem::temp_directory_path() / "VQFUZZ.XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // Also of what a wild number has made, which is not worth its blocks on the disk.
  void clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      std::filesystem::remove_all(entry.path());
    }
  }

 private:
  std::string path_;
};

inline void write_file(const std::string& path, Input bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

// Takes bytes off the front; fewer where there are no more.
inline Input take(Input& input, std::size_t count) {
  const Input taken = input.first(std::min(count, input.size()));
  input = input.subspan(taken.size());
  return taken;
}

inline std::uint8_t take_byte(Input& input) {
  const Input one = take(input, 1);
  return one.empty() ? std::uint8_t{0} : one[0];
}

// What an input asks for after its first bytes: two bytes a step, behind a byte with their number.
struct Step {
  std::uint8_t action;
  std::uint8_t value;
};

inline std::vector<Step> take_steps(Input& input) {
  constexpr std::size_t kMost = 64;
  std::vector<Step> steps(take_byte(input) % kMost);
  for (Step& step : steps) step = {take_byte(input), take_byte(input)};
  return steps;
}

inline void expect(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: what has to hold does not\n", file, line);
  std::abort();
}

}  // namespace vqdb::fuzz

#endif  // VQDBSYS_FUZZ_FOLDER_H_
