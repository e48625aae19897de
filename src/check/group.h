// The index files of a group: from the host's list, or from the index list beside the table.
#ifndef VQDBSYS_CHECK_GROUP_H_
#define VQDBSYS_CHECK_GROUP_H_

#include <cstdint>
#include <string>
#include <vector>

#include "api/index_kinds.h"
#include "check/check.h"
#include "check/findings.h"
#include "check/held_file.h"
#include "check/held_table.h"

namespace vqdb::check {

struct ListedIndex {
  const api::IndexKind* kind;
  std::string path;
  std::vector<const VqIndexDef*> defs = {};  // the host's: one, or one for each tag

  bool is_ndx() const { return kind->extension == "NDX"; }
  bool is_mdx() const { return kind->extension == "MDX"; }
};

// The memo file of a table name such as "orders" or "orders;notes".
std::string memo_path_of(const char* table_name);

// The indexes of the host's list or, when it has none, of the index list and the table's own MDX
// file, if any. A list that cannot be read is a finding.
Result list_indexes(const Request& request, const HeldTable& table, Findings& findings,
                    std::vector<ListedIndex>& indexes);

// Whether the index list is marked by a DBpack that was cut off, which is a finding.
bool note_cut_off_pack(const Request& request, Findings& findings);

// Opens the file; one that is missing is a finding, and leaves `file` closed.
Result open_index(const ListedIndex& index, HeldFile& file, FileFindings& findings, Hold hold);

// How many trees the file has, for each of which the records are gone through.
Result count_trees(const ListedIndex& index, HeldFile& file, std::uint64_t& trees);

// Kinds that are not looked at have a finding that says so.
Result check_index(const ListedIndex& index, HeldFile& file, const IndexedTable& keys,
                   FileFindings& findings, Progress& progress);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_GROUP_H_
