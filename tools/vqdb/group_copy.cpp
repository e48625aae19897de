#include "group_copy.h"

#include <algorithm>
#include <filesystem>

#include "change.h"
#include "file_names.h"
#include "index_list.h"
#include "memo_file.h"
#include "stop.h"
#include "warnings.h"

namespace tool {
namespace {

// The production index is called as its table; any other keeps its name where that is free in the
// new table's folder, else gets the table's in front.
std::string path_for(const IndexFile& file, const std::string& from, const std::string& to) {
  const std::string name = file.path.substr(folder_of(file.path).size());
  if (equal_ignoring_case(stem_of(file.path), stem_of(from))) {
    return replace_extension(to, name.substr(name.rfind('.') + 1));
  }
  const std::string same = folder_of(to) + name;
  if (!find_file(same)) return same;
  const std::string other = folder_of(to) + stem_of(to) + "_" + name;
  if (find_file(other)) stop_failed("{}: in the way of the new table's index", other);
  return other;
}

}  // namespace

void copy_memo_file(const Table& from, const std::string& to) {
  if (std::ranges::none_of(from.fields(), is_memo_type, &Field::type)) return;
  const std::string memo = memo_path_of(from.path(), from.header().version, from.memo_name());
  if (!find_file(memo)) {
    print_warning(memo + " is missing; the new table has no memo file either");
    return;
  }
  const std::string extension = to_upper(memo.substr(memo.rfind('.') + 1));
  std::error_code error;
  std::filesystem::copy_file(memo, replace_extension(to, extension), error);
  if (error) stop_failed("{}: cannot be copied: {}", memo, error.message());
}

std::size_t copy_indexes(const Table& from, const std::vector<IndexFile>& group,
                         const std::string& to, NewTable& made) {
  std::vector<IndexFile> copies;
  std::size_t indexes = 0;
  for (const IndexFile& file : group) {
    const std::string path = path_for(file, from.path(), to);
    indexes += index_facts(from, file).size();
    made.add(path);
    copy_index_file(from.block(), file, path);
    copies.push_back({file.kind, find_file(path).value_or(path), true});
  }
  if (!copies.empty()) write_index_list(to, copies);
  return indexes;
}

std::size_t build_indexes(const Table& from, const std::vector<IndexFile>& group,
                          const std::string& to, NewTable& made) {
  std::vector<IndexFile> built;
  std::size_t indexes = 0;
  {
    Change change(to, {});
    change.leave_locks_to_library();
    for (const IndexFile& file : group) {
      const std::string path = path_for(file, from.path(), to);
      made.add(path);
      for (const IndexFacts& facts : index_facts(from, file)) {
        const int32_t result = DBindex(
            change.database(), file.kind, path.c_str(),
            file.kind == VQ_KIND_MDX ? facts.tag.c_str() : nullptr, facts.key.c_str(),
            facts.filter.empty() ? nullptr : facts.filter.c_str(),
            (facts.unique ? VQ_BUILD_UNIQUE : 0) | (facts.descending ? VQ_BUILD_DESCENDING : 0));
        require(change.block(), result, path);
        ++indexes;
      }
      built.push_back({file.kind, find_file(path).value_or(path), true});
    }
    change.commit();
  }
  if (!built.empty()) write_index_list(to, built);
  return indexes;
}

}  // namespace tool
