// What a memo file holds: the memos that a table's fields name and, in the dBASE IV layout, the
// chain of free blocks, each of which has to have its blocks for itself.
#ifndef VQDBSYS_CHECK_MEMO_FORM_H_
#define VQDBSYS_CHECK_MEMO_FORM_H_

#include <cstdint>
#include <vector>

#include "check/findings.h"
#include "check/held_file.h"
#include "check/table_records.h"
#include "memo/memo.h"

namespace vqdb::check {

enum class MemoState : std::uint8_t {
  whole,
  clashing,    // can be read, but another reference has its blocks as well
  unreadable,  // no memo is there
};

// A memo that a field names.
struct NamedMemo {
  MemoReference reference;
  std::uint64_t blocks = 0;
  std::uint64_t length = 0;  // of the text
  bool marked = true;        // its mark is as it should be
  MemoState state = MemoState::unreadable;

  std::uint64_t end() const { return reference.block + blocks; }
};

// Blocks that lie one behind the other.
struct BlockSpan {
  std::uint64_t first;
  std::uint64_t count;

  std::uint64_t end() const { return first + count; }
};

struct MemoForm {
  memo::Layout layout = memo::Layout::none;
  std::uint32_t block_size = 0;
  std::uint64_t blocks = 0;        // that the file reaches into, the header's included
  bool is_memo_file = false;       // blocks can be told
  bool is_sound = true;            // nothing in the file has to be mended
  std::vector<NamedMemo> memos;    // by block
  std::vector<BlockSpan> unnamed;  // dBASE IV: memos that no field names, by block
};

// The table that tells what the file holds. Its references come out by block.
struct MemoOwner {
  const TableForm& form;
  std::vector<MemoReference>& references;
  FileFindings& findings;
};

// Whether references lead to what begins a dBASE IV memo, with blocks of any size.
Result names_dbase4_memos(HeldFile& file, const std::vector<MemoReference>& references, bool& yes);

Result read_memo_form(HeldFile& file, FileFindings& findings, memo::Layout layout,
                      const MemoOwner& owner, MemoForm& form);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_MEMO_FORM_H_
