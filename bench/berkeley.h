// Berkeley DB as a yardstick for ordered keys: a B-tree file without environment, log and locks,
// 64 MB of page cache, a key and its record number as one entry.
#ifndef VQDBSYS_BENCH_BERKELEY_H_
#define VQDBSYS_BENCH_BERKELEY_H_

#include <db.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace vqdb::bench {

class Berkeley {
 public:
  static constexpr const char* kName = "Berkeley DB";

  explicit Berkeley(const std::string& path);
  ~Berkeley();
  Berkeley(const Berkeley&) = delete;
  Berkeley& operator=(const Berkeley&) = delete;

  void insert(std::string_view key, std::uint32_t number);
  // The same behind all other entries.
  void append(std::string_view key, std::uint32_t number) { insert(key, number); }
  // Writes everything and closes.
  void commit();
  // The number of the first entry with the key; 0 without one.
  std::uint32_t find(std::string_view key);
  // Steps to the next entry, from the first on after a rewind. The key is valid until the next
  // step.
  void rewind() { at_start_ = true; }
  bool next(std::string_view& key, std::uint32_t& number);

 private:
  bool get(std::uint32_t operation);

  DB* database_ = nullptr;
  DBC* cursor_ = nullptr;
  DBT entry_ = {};
  bool at_start_ = true;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_BERKELEY_H_
