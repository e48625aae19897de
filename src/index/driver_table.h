// The index driver table: every operation of every index kind, as constant data. The database
// layer calls through it and never names a kind; a further kind is a further column. An empty slot
// is null.
#ifndef VQDBSYS_INDEX_DRIVER_TABLE_H_
#define VQDBSYS_INDEX_DRIVER_TABLE_H_

#include <cstdint>

#include "frame/handle_pool.h"
#include "frame/result.h"
#include "table/table.h"

namespace vqdb::index {

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
  // With `bracketed` the change runs inside the refresh and release of a shared file.
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
};

// The column's operations; a column beyond the table is an empty one.
const Driver& driver(std::uint32_t column);
const Builder& builder(std::uint32_t column);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_DRIVER_TABLE_H_
