// The run of blocks that a dBASE IV memo occupies: finding it by its reference, reading its text
// and writing it.
#ifndef VQDBSYS_MEMO_DBASE4_RUN_H_
#define VQDBSYS_MEMO_DBASE4_RUN_H_

#include <cstdint>
#include <span>

#include "frame/bytes.h"
#include "memo/memo.h"

namespace vqdb::memo {

// A memo in the file.
struct Located {
  Run run;
  std::uint32_t length = 0;  // of the text
};

// Finds a memo and reads the beginning of its run into the handle's window, unless it is still
// there from earlier calls. A run that leaves the file gives -3.
Result locate(Memo& memo, const char* reference, Located& located);

// Reads count bytes of the text from offset on. REQUIRES that locate() found it last and that the
// text has them.
Result read_text(Memo& memo, const Located& located, std::uint32_t offset, std::uint32_t count,
                 Byte* out, std::int32_t detail);

// Writes at a position of a run's text.
Result write_text(Memo& memo, Run run, std::uint32_t offset, std::span<const Byte> text,
                  std::int32_t detail);

// Fills the file with zeros up to an offset, but for a last stretch that write_memo() fills.
Result fill_gap(Memo& memo, std::uint64_t offset);

// Writes a memo's header, for a text of `length` bytes, and the two pieces of its text that follow
// it; in one go when they are short. REQUIRES that the first piece has at most kLeadingBytes, and
// that the gap between the end of the file and the run has been filled.
inline constexpr std::size_t kLeadingBytes = 8192;
Result write_memo(Memo& memo, Run run, std::uint32_t length, std::span<const Byte> leading,
                  std::span<const Byte> text, std::int32_t detail);

// Rewrites the length in a memo's header.
Result write_length(Memo& memo, Run run, std::uint32_t length, std::int32_t detail);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DBASE4_RUN_H_
