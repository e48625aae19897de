// The key stream of an index build: the keys of all records of a table, deleted ones included, go
// into the sort and come out in order. A filter leaves out the records for which it is not true.
#ifndef VQDBSYS_INDEX_KEYS_KEY_FEED_H_
#define VQDBSYS_INDEX_KEYS_KEY_FEED_H_

#include <cstdint>

#include "expr/expression.h"
#include "frame/result.h"
#include "platform/memory.h"
#include "sort/external_sort.h"
#include "table/table.h"

namespace vqdb::index {

class KeyFeed {
 public:
  // `options` are run options of the key's form; key_length what a key has in the stream; the
  // filter, a logical expression, may be null.
  KeyFeed(table::Table& table, expr::Expression& expression, std::uint32_t options,
          std::uint32_t key_length, expr::Expression* filter = nullptr)
      : table_(table),
        expression_(expression),
        filter_(filter),
        options_(options),
        key_length_(key_length) {}

  // Adds the entries of the records from 1 to count.
  Result run(std::uint32_t count, sort::ExternalSort& sort, Progress& progress);

 private:
  Result add_record(std::uint32_t recno, const void* record, sort::ExternalSort& sort);
  Result passes(const void* record, bool& yes);
  Result write_key(const void* record, Byte* key);

  table::Table& table_;
  expr::Expression& expression_;
  expr::Expression* const filter_;
  const std::uint32_t options_;
  const std::uint32_t key_length_;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_KEYS_KEY_FEED_H_
