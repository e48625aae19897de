// Memo files as the tests build, use and check them: a table with memo fields, an open memo file of
// either layout behind one set of calls, and a verifier of dBASE IV files.
#ifndef VQDBSYS_TESTS_SUPPORT_MEMO_FILES_H_
#define VQDBSYS_TESTS_SUPPORT_MEMO_FILES_H_

#include "support/test.h"

namespace vqdb::testing {

inline const std::string kNoMemo(10, ' ');

std::string reference_to(std::uint32_t block);
std::uint32_t block_of(const std::string& reference);

std::uint32_t read_le32(std::string_view bytes, std::size_t offset);

// A block as DBinit prepares it, but for what memo files have no use for.
VqBlock memo_block(std::uint32_t kind, std::uint32_t block_setting = 1);

// A table of one field C4 and `memo_fields` memo fields, whose records hold these references, row
// by row.
std::string memo_table(std::uint8_t version, std::size_t memo_fields,
                       const std::vector<std::string>& references);

// An open memo file, closed with its owner.
class MemoFile : NotCopied {
 public:
  enum class Layout { dbase3, dbase4 };

  // A handle is null when the file could not be opened.
  MemoFile(VqBlock& block, const std::string& name, Layout layout = Layout::dbase4,
           std::uint32_t mode = 0);
  ~MemoFile();

  VqMemo* handle() const { return handle_; }

  std::int32_t write_new(std::string_view text, std::string& reference);
  std::int32_t append(std::string_view text, std::string& reference, std::int32_t* moved = nullptr);
  std::int32_t replace(std::string_view text, std::string& reference,
                       std::int32_t* moved = nullptr);
  // The size operation and then the get operation; the first failure.
  std::int32_t read(const std::string& reference, std::string& text);
  std::int32_t close();

 private:
  Layout layout_;
  VqMemo* handle_;
};

// Makes a table without records, and its empty memo file.
void create_memos(VqBlock& block, const std::string& name,
                  MemoFile::Layout layout = MemoFile::Layout::dbase4);

// What is wrong with a dBASE IV memo file in which these references name memos: blocks that are in
// two runs or outside the file and, unless leaks are allowed, in none. Empty when it is sound.
std::string fault_in_dbase4(const std::string& file, const std::vector<std::string>& references,
                            bool leaks_allowed = false);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_MEMO_FILES_H_
