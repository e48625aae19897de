// The files that a memo name means. A name may carry its table's behind a semicolon: "notes;orders"
// is the memo file notes of the table orders; without one both have the same base name.
#ifndef VQDBSYS_MEMO_NAMES_H_
#define VQDBSYS_MEMO_NAMES_H_

#include <string>
#include <string_view>

#include "frame/result.h"
#include "memo/memo.h"

namespace vqdb::memo {

inline constexpr std::string_view kMemoExtension = "DBT";
inline constexpr std::string_view kTableExtension = "DBF";

// The memo file's path. A table's extension gives way to that of memo files, since hosts pass a
// table's name where they mean its memo file.
std::string memo_path(std::string_view name);

// The name of the table that the memo file belongs to, with its extension.
std::string table_name(std::string_view name);

// The layout of the memo file of a table with this version byte or, when that tells nothing, of the
// dialect.
Layout layout_of_version(const VqBlock& block, std::uint8_t version);
// Whether it is that of a table without a memo file.
bool denies_memo_file(std::uint8_t version);
// The version byte that marks a table for this layout.
std::uint8_t version_for(Layout layout);
// The layout of a table's memo file, from its version byte or, when that tells nothing, from the
// dialect.
Result layout_of_table(VqBlock& block, const std::string& path, Layout& layout);

// Puts in place what a compaction that was cut off left of the memo file and its table.
Result complete_interrupted(VqBlock& block, std::string_view name);

// The mark of a table that has a memo file of some layout: its version byte.
class TableMark {
 public:
  // Details 2051 to 2053. After a failure the table has the mark that it had.
  Result set(VqBlock& block, const std::string& path, Layout layout);
  // Brings the older mark back, as far as the file lets us.
  void take_back();

 private:
  std::string path_;
  std::uint8_t before_ = 0;  // 0: the mark was there
};

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_NAMES_H_
