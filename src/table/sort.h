// Sorts a table into a new one.
#ifndef VQDBSYS_TABLE_SORT_H_
#define VQDBSYS_TABLE_SORT_H_

#include "frame/result.h"

namespace vqdb::table {

// Writes the records of table `source`, deletion flags and all, to a new table `target` in the
// order of the keys: fields, each with `/A` (ascending, the default) or `/D` behind it and `C` to
// ignore case, such as "CITY/A,AMOUNT/D,NAME/AC". Records with equal keys keep their order. The
// target appears, or replaces an older one, only when it is complete. Details 441 (a name or a key
// is missing, or the names are the same, or a key is no key), 442 (no such field, or one that has
// no order), 443 (no memory), those of open, create and append, and the external sort's.
Result sort(VqBlock& block, const char* source, const char* target, const char* keys);

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_SORT_H_
