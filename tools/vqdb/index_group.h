// The index files that belong to a table: those of its index list, the production MDX file beside
// it, and what the command line names besides.
#ifndef VQDB_INDEX_GROUP_H_
#define VQDB_INDEX_GROUP_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "table.h"

namespace tool {

// The first line of an index list while its table is being packed.
inline constexpr std::string_view kPackMark = "PACKING";

struct IndexFile {
  std::uint32_t kind;  // as in VqIndexSpec
  std::string path;    // of the file, or where it should be
  bool is_there;
};

std::vector<IndexFile> index_group_of(const std::string& table_path, const Header& header,
                                      const std::vector<std::string>& besides);

// The kind of an index file by its extension, its name in index lists, and the extension of its
// kind.
std::uint32_t index_kind_of(std::string_view path);
std::string_view keyword_of(std::uint32_t kind);
std::string_view extension_of(std::uint32_t kind);
// Whether an index list can hold the name.
bool is_listable(std::string_view name);

// An index, or a tag of one, as `info` and `index list` tell of it.
struct IndexFacts {
  std::string tag;     // empty for a single index
  std::string key;     // expression
  std::string filter;  // FOR expression, or empty
  char key_type = 0;
  std::uint32_t key_length = 0;
  bool unique = false;
  bool descending = false;
};

// Ends the command when the file cannot be read.
std::vector<IndexFacts> index_facts(const Table& table, const IndexFile& file);

// Copies an index file, to another name; drops a tag of an MDX file.
void copy_index_file(VqBlock& block, const IndexFile& file, const std::string& to);
void drop_tag(const Table& table, const std::string& path, const std::string& tag);

}  // namespace tool

#endif  // VQDB_INDEX_GROUP_H_
