// The index driver table: every operation of every index kind, as constant data. The database
// layer calls through it and never names a kind; a further kind is a further column. An empty slot
// is null.
#ifndef VQDBSYS_INDEX_DRIVER_TABLE_H_
#define VQDBSYS_INDEX_DRIVER_TABLE_H_

#include <cstdint>

#include "frame/handle_pool.h"
#include "frame/result.h"
#include "platform/file.h"
#include "table/table.h"

namespace vqdb::index {

struct KeyPlace;
class Index;  // an index file or a tag; derives from HandleHead

// The rows, in order.
struct Driver {
  Index* (*open)(table::Table& context, const char* name, std::uint32_t mode, std::int32_t buffers);
  Result (*close)(Index&);
  Index* (*actidx)(Index& file, const char* tag);
  Result (*deaidx)(Index& tag);
  Result (*flush)(Index&);
  Result (*expr)(Index&, char* text, std::int32_t size, std::int32_t* flags);
  Result (*listag)(Index& file, void* list);
  Result (*sortag)(Index& file, void* list);
  std::int32_t (*tags)(Index& file);
  // With `bracketed` the change runs inside a bracket of its own (below), without it inside the
  // caller's; outside any, a shared file refuses it (-35). A key that a unique index holds already
  // is Result::duplicate_key.
  Result (*putkey)(Index&, const void* key, std::uint32_t recno, bool bracketed);
  Result (*rmkey)(Index&, const void* key, std::uint32_t recno, bool bracketed);
  Result (*getrno)(Index&, const void* key, std::uint32_t* recno);
  Result (*nxtkey)(Index&, void* key, std::uint32_t* recno);
  Result (*prvkey)(Index&, void* key, std::uint32_t* recno);
  Result (*curkey)(Index&, void* key, std::uint32_t* recno);
  Result (*rewind)(Index&);
  Result (*forwrd)(Index&);
  Result (*explen)(Index&, std::int32_t* length, std::int32_t* flags);
  std::int32_t (*keylen)(Index&);
  std::int32_t (*keytyp)(Index&);
};

// Beside the rows: what it takes to change several indexes as one. Any handle of a file, the file's
// own or a tag's, stands for the file here.
struct Bracket {
  // Brackets nest and are counted by file. The outermost enter waits for the lock of a shared file,
  // takes it and brings the file's handles up to date; the outermost leave writes once what has
  // changed, and lets go. What cannot be written is forgotten, and the failure is leave's result.
  // In an exclusive mode neither does anything. Every enter that succeeds needs its leave.
  Result (*enter)(Index&);
  Result (*leave)(Index&);
  // The same for a file that may be damaged so that changes are refused.
  Result (*look)(Index&);
  // Files are entered in the order of their identities, which all processes see alike, so that no
  // two wait for each other. Handles of equal identity that are not of one open exclude each other.
  platform::FileIdentity (*identity)(const Index&);
  // Moves an entry: the new key goes in before the old one goes out, and out again when that fails.
  // An old key that is missing is -5, and then nothing goes in.
  Result (*updkey)(Index&, const void* old_key, const void* new_key, std::uint32_t recno,
                   bool bracketed);
  // Puts a key at its place (open/key_place.h), or looks for the place where none was found.
  Result (*putat)(const KeyPlace& place, std::uint32_t recno, bool bracketed);
  // The next entries, up to `count`, their keys one behind the other. Stops at the first step that
  // fails; got is how many there were.
  Result (*nxtkeys)(Index&, std::uint32_t count, void* keys, std::uint32_t* recnos,
                    std::uint32_t& got);
  // Tells that the keys are dates, where a file may leave that open; null where none does.
  void (*datek)(Index&);
  // Whether exactly this key and record number are there. The position stays.
  Result (*haskey)(Index&, const void* key, std::uint32_t recno, bool* has);
  // Of a file of tags: a number that changes with the tags it has and with the definitions of those
  // that are active. Outside a bracket 0 says that another process seems to change them, or that
  // they cannot be read; enter, and ask again. Null for files of a single index.
  std::uint32_t (*tagst)(Index& file);
};

inline constexpr std::uint32_t kDriverColumns = 8;

// A new index: tag and filter are for multiple-index files. Options: 1 unique, 2 descending (tags).
struct BuildRequest {
  const char* name;
  const char* tag;
  const char* key;
  const char* filter;
  std::uint32_t options;
};

// The key builder table: making an index with the keys of its table, and making it again.
struct Builder {
  Result (*build)(table::Table&, const BuildRequest&);
  Result (*rebuild)(table::Table&, const char* name);
  // A tag more in a multiple-index file that is open; null for files of a single index.
  Result (*add_tag)(Index& file, const BuildRequest&);
};

// The column's operations; a column beyond the table is an empty one.
const Driver& driver(std::uint32_t column);
const Bracket& bracket(std::uint32_t column);
const Builder& builder(std::uint32_t column);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_DRIVER_TABLE_H_
