// Making a table file: the tests that every new field passes, and then the writing of header and
// descriptors. What is refused leaves the file that was there; a file that is not finished is
// removed.
#ifndef VQDBSYS_TABLE_CREATE_H_
#define VQDBSYS_TABLE_CREATE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/bytes.h"
#include "frame/result.h"
#include "platform/file.h"
#include "platform/memory.h"
#include "table/field.h"

namespace vqdb::table {

// Creates the table (default extension "DBF") with `count` fields given as pairs of texts, name and
// type ("C20", "N10.2", "D"). An existing file of that name is overwritten, unless somebody else
// has locked it (claim_table_at).
Result create(VqBlock& block, const char* name, std::int32_t count, const char* const* fields);

class Table;

// Makes an empty file a table without records for those of another. Its header has what does not
// come from the fields: the version byte, since the memo file keeps its layout, the record length
// and the marks of other programs. The production flag is clear, since record numbers change.
// Details 151 to 164, and the one given where the header is not taken over.
Result create_like(Table& from, platform::File& file, std::int32_t detail);

bool is_memo_type(char type);
// Whether an expression could refer to a field by this name.
bool is_field_name(std::string_view name);

// A table file in the making. Details 151 to 164.
class NewTable {
 public:
  explicit NewTable(VqBlock& block) : block_(block) {}

  // Adds fields given as pairs of texts, name and type.
  Result add_described(std::int32_t count, const char* const* fields);
  // Adds fields as they are, but for their names.
  Result add_like(std::span<const Field> fields);

  Result write(const std::string& name);
  // The same over a table that others may have locked.
  Result replace(const std::string& path);
  // To a file that is empty.
  Result write(platform::File& file);

  bool has_memo() const { return has_memo_; }

 private:
  Result start(std::size_t field_count);
  // Tests a field's name and puts it, in upper case, into the field.
  Result name_field(std::string_view name, Field& field);
  // Adds a field that has passed its tests, behind the fields added before.
  Result add(const Field& field);
  Byte version() const;

  VqBlock& block_;
  platform::Bytes descriptors_;
  std::uint32_t descriptor_bytes_ = 0;
  std::uint32_t field_bytes_ = 0;  // sum of the field lengths
  bool has_memo_ = false;
  std::vector<std::array<char, kMaxFieldName + 1>> names_;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_CREATE_H_
