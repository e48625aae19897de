// Memo references: the ten characters of a memo field, which name the first block of a memo.
#ifndef VQDBSYS_MEMO_REFERENCE_H_
#define VQDBSYS_MEMO_REFERENCE_H_

#include <cstddef>
#include <cstdint>

#include "vqdbsys.h"

namespace vqdb::memo {

inline constexpr std::size_t kReferenceWidth = VQ_MEMO_REFERENCE_BYTES;

// The block number: blanks are skipped wherever they stand, and reading stops at the first other
// character that is no digit. 0 when the field has no memo. Ten digits can exceed every block
// number that a file holds.
std::uint64_t parse_reference(const char* reference);

// Ten digits, with leading zeros; no zero byte behind them.
void write_reference(std::uint32_t block, char* reference);

// What a memo field holds: 1 a block number, that is, a digit other than 0 behind optional blanks
// and zeros, and digits only from there on; 0 nothing, as blanks, or blanks and then zeros; -1
// anything else.
int memo_field_state(const char* field);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_REFERENCE_H_
