#include "check/group.h"

#include <algorithm>
#include <span>

#include "api/index_list.h"
#include "api/open.h"
#include "check/mdx_check.h"
#include "check/ndx_check.h"
#include "frame/file_name.h"
#include "memo/names.h"
#include "platform/path.h"

namespace vqdb::check {
namespace {

// A file is one index, however many of its tags the host names.
Result add_index(std::uint32_t kind_code, const char* name, const VqIndexDef* def,
                 std::vector<ListedIndex>& indexes) {
  const api::IndexKind* const kind = api::kind_of_spec(kind_code);
  if (kind == nullptr) return Result::unknown_kind;
  if (name == nullptr) return Result::out_of_range;
  const std::string path = path_of(name, kind->extension);
  auto place = std::find_if(indexes.begin(), indexes.end(),
                            [&](const ListedIndex& index) { return index.path == path; });
  if (place == indexes.end()) place = indexes.insert(place, {kind, path});
  if (def != nullptr) place->defs.push_back(def);
  return Result::ok;
}

}  // namespace

std::string memo_path_of(const char* table_name) {
  return memo::memo_path(api::memo_name_of(table_name));
}

Result list_indexes(const Request& request, const HeldTable& table, Findings& findings,
                    std::vector<ListedIndex>& indexes) {
  const VqCheckOptions& options = request.options;
  if (options.index_count > 0 && options.indexes != nullptr) {
    for (const VqIndexDef& def :
         std::span(options.indexes, static_cast<std::size_t>(options.index_count))) {
      const Result result = add_index(def.kind, def.name, &def, indexes);
      if (!ok(result)) return result;
    }
    return Result::ok;
  }
  api::ListedIndexes listed;
  const Result read = api::read_index_list(request.block, request.name, listed);
  if (read == Result::bad_format) {
    FileFindings list(findings, platform::resolve(replace_extension(request.name, "DD")));
    list.add(VQ_F_INDEX_LIST, {}, "The index list cannot be read.");
    return Result::ok;
  }
  if (!ok(read)) return read;
  for (const api::ListedIndex& index : listed) {
    const Result result = add_index(index.spec.kind, index.spec.name, nullptr, indexes);
    if (!ok(result)) return result;
  }
  const std::string own = table.production_path();
  return own.empty() ? Result::ok : add_index(VQ_KIND_MDX, own.c_str(), nullptr, indexes);
}

bool note_cut_off_pack(const Request& request, Findings& findings) {
  if (!api::is_marked(request.name)) return false;
  FileFindings list(findings, platform::resolve(replace_extension(request.name, "DD")));
  list.add(VQ_F_PACK_CUT_OFF, {}, "The indexes may hold the record numbers of before DBpack.");
  return true;
}

Result open_index(const ListedIndex& index, HeldFile& file, FileFindings& findings, Hold hold) {
  const std::int32_t detail = file.block().detail;
  const Result result = file.open(index.path, hold);
  if (result != Result::not_found) return result;
  file.block().detail = detail;
  findings.add(VQ_F_FILE_MISSING, {}, "An index file of the group is not there.");
  return Result::ok;
}

Result count_trees(const ListedIndex& index, HeldFile& file, std::uint64_t& trees) {
  trees = 1;
  if (!index.is_mdx()) return Result::ok;
  std::uint32_t tags = 0;
  const Result result = count_tags(file, tags);
  trees = tags;
  return result;
}

Result check_index(const ListedIndex& index, HeldFile& file, const IndexedTable& keys,
                   FileFindings& findings, Progress& progress) {
  if (index.is_ndx()) return check_ndx(file, keys, findings, progress);
  if (index.is_mdx()) return check_mdx(file, keys, findings, progress);
  findings.add(VQ_F_NOT_COMPARED, {}, "Index files of this kind are not looked at.");
  return Result::ok;
}

}  // namespace vqdb::check
