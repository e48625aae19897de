// What the targets for index files share: a table in a folder of its own, the input as an index
// file of it, and work on keys that are taken from the input.
#ifndef VQDBSYS_FUZZ_INDEX_SUBJECT_H_
#define VQDBSYS_FUZZ_INDEX_SUBJECT_H_

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

namespace vqdb::fuzz {

class IndexSubject {
 public:
  // The calls of an index kind.
  struct Keys {
    decltype(&dNgetrno) find;
    decltype(&dNputkey) put;
    decltype(&dNrmkey) remove;
    decltype(&dNnxtkey) next;
    decltype(&dNprvkey) previous;
  };

  IndexSubject(const Keys& keys, const char* extension)
      : keys_(keys), name_((folder_.path / "I").string() + extension) {
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
  ~IndexSubject() { dDclose(table_); }
  IndexSubject(const IndexSubject&) = delete;
  IndexSubject& operator=(const IndexSubject&) = delete;

 protected:
  VqTable* table() const { return table_; }
  const char* name() const { return name_.c_str(); }

  // The first byte chooses the mode, the last ones are keys. REQUIRES size > 1.
  std::uint32_t take(const std::uint8_t* data, std::size_t size) {
    std::ofstream(name_, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
    const std::size_t taken = std::min(size, key_.size());
    key_ = {};
    std::memcpy(key_.data(), data + size - taken, taken);
    constexpr std::array<std::uint32_t, 4> kModes = {0, 4, 1, 0};
    return kModes[data[0] % kModes.size()];
  }

  // Walks, searches and, where the mode lets it, changes.
  void work(VqIndex* index) {
    walk(index, keys_.next);
    walk(index, keys_.previous);
    std::uint32_t recno = 0;
    for (int round = 0; round < 40; ++round) {
      keys_.find(index, key_.data(), &recno);
      keys_.put(index, key_.data(), static_cast<std::uint32_t>(round + 1));
      if (round % 3 == 0) keys_.remove(index, key_.data(), static_cast<std::uint32_t>(round));
      Key found;
      if (keys_.next(index, found.data(), &recno) == 0 && round % 4 == 0) {
        keys_.remove(index, found.data(), recno);
      }
      ++key_[static_cast<std::size_t>(round) % 7];
    }
    walk(index, keys_.previous);
  }

 private:
  using Key = std::array<char, 256>;

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

  static void walk(VqIndex* index, decltype(&dNnxtkey) step) {
    constexpr int kMaxSteps = 2000;
    Key key;
    std::uint32_t recno = 0;
    for (int steps = 0; steps < kMaxSteps && step(index, key.data(), &recno) == 0; ++steps) {
    }
  }

  const Keys keys_;
  Folder folder_;
  const std::string name_;
  VqBlock block_ = {};
  VqTable* table_ = nullptr;
  Key key_ = {};
};

}  // namespace vqdb::fuzz

#endif  // VQDBSYS_FUZZ_INDEX_SUBJECT_H_
