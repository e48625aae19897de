// What a table is sorted by: a list of fields, turned into bytes that order as the records do.
#ifndef VQDBSYS_TABLE_SORT_KEY_H_
#define VQDBSYS_TABLE_SORT_KEY_H_

#include <string_view>
#include <vector>

#include "frame/bytes.h"
#include "frame/result.h"
#include "table/table.h"

namespace vqdb::table {

class SortKey {
 public:
  // Reads a list such as "CITY/A,AMOUNT/D,NAME/AC"; details 441 and 442.
  Result parse(VqBlock& block, const Table& table, std::string_view keys);
  std::size_t size() const { return size_; }
  // Writes size() bytes whose order, byte by byte, is the order of the whole records.
  void build(const Byte* record, Byte* key) const;

 private:
  struct Part {
    const Field* field;
    std::size_t size;
    bool descending;
    bool ignores_case;
    bool collated;
  };

  Result add(VqBlock& block, const Table& table, std::string_view text);

  std::vector<Part> parts_;
  std::size_t size_ = 0;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_SORT_KEY_H_
