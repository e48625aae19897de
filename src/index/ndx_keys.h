// The keys of an open NDX file: searched, stepped through and changed. A key is key_length() bytes.
//
// The position after a change of this handle: an inserted entry is the current one; where an entry
// was removed, the next key is the one that followed it, the previous key the one before it, and
// there is no current key. A search that finds no equal key leaves no current key either, and
// stepping goes on from the entry whose record it delivered.
#ifndef VQDBSYS_INDEX_NDX_KEYS_H_
#define VQDBSYS_INDEX_NDX_KEYS_H_

#include <cstdint>

#include "index/ndx_file.h"

namespace vqdb::index {

// A change runs inside a bracket of its own, or, without `bracketed`, inside the caller's: then it
// changes the tree only, and outside any bracket of a shared file it is refused (-35, details 3165,
// 3215 and 3316). A key that a unique index holds is Result::duplicate_key.
Result put_key(NdxFile& file, const void* key, std::uint32_t recno, bool bracketed = true);
Result remove_key(NdxFile& file, const void* key, std::uint32_t recno, bool bracketed = true);
// The new key goes in before the old one goes out; an old key that is missing is -5, and then
// nothing goes in.
Result update_key(NdxFile& file, const void* old_key, const void* new_key, std::uint32_t recno,
                  bool bracketed = true);
// Whether the entry with exactly this key and record number is there. The position stays.
Result holds_entry(NdxFile& file, const void* key, std::uint32_t recno, bool& holds);

// The first entry with the key. Without one -5, with the record number of the first entry above
// the key, or 0 where there is none above it.
Result find_record(NdxFile& file, const void* key, std::uint32_t* recno);
// Null out arguments are not written.
Result next_key(NdxFile& file, void* key, std::uint32_t* recno);
Result previous_key(NdxFile& file, void* key, std::uint32_t* recno);
Result current_key(NdxFile& file, void* key, std::uint32_t* recno);
void rewind(NdxFile& file);
void forward(NdxFile& file);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_NDX_KEYS_H_
