// The memo file of a table, open for reading.
#ifndef VQDB_MEMO_FILE_H_
#define VQDB_MEMO_FILE_H_

#include <vqdbsys.h>

#include <memory>
#include <string>

#include "table.h"

namespace tool {

class MemoFile {
 public:
  // A missing or unreadable file is no failure: why() tells, and every memo of it is unreadable.
  explicit MemoFile(const Table& table);
  ~MemoFile();
  MemoFile(const MemoFile&) = delete;
  MemoFile& operator=(const MemoFile&) = delete;

  bool is_open() const { return handle_ != nullptr; }
  const std::string& path() const { return path_; }
  const std::string& why() const { return why_; }

  // The bytes of the memo that the ten characters of a field name. False when they cannot be read;
  // why() then says so.
  bool read(const char* reference, std::string& bytes);

 private:
  bool is_dbase3() const;
  int32_t read_dbase4(const char* reference, std::string& bytes);
  int32_t read_dbase3(const char* reference, std::string& bytes);

  // The memo calls have details of their own, so they have a block of their own.
  std::unique_ptr<VqBlock> block_;
  VqMemo* handle_ = nullptr;
  std::uint8_t version_;
  std::string path_;
  std::string why_;
};

// The path of the memo file that belongs to a table, whether it is there or not.
std::string memo_path_of(const std::string& table_path, std::uint8_t version,
                         const std::string& memo_name);

}  // namespace tool

#endif  // VQDB_MEMO_FILE_H_
