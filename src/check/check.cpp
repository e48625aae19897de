#include "check/check.h"

#include <list>
#include <string>
#include <vector>

#include "check/group.h"
#include "check/held_table.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "memo/names.h"
#include "platform/path.h"
#include "table/lock_scheme.h"

namespace vqdb::check {
namespace {

struct OpenIndex {
  const ListedIndex& index;
  FileFindings findings;
  HeldFile file;
};

class Check {
 public:
  explicit Check(const Request& request)
      : request_(request),
        block_(request.block),
        findings_(request.block, request.report, request.context),
        unheard_(request.block, nullptr, nullptr) {}

  Result group() {
    HeldTable table(block_, findings_, path_of(request_.name, memo::kTableExtension));
    Result result = table.open(locked());
    if (ok(result)) result = table.open_memo(memo_path_of(request_.name), locked());
    note_cut_off_pack(request_, findings_);
    std::uint64_t passes = 1;
    if (ok(result)) result = open_indexes(table, passes);
    if (!ok(result)) return result;
    Progress progress(block_, table.record_count() * passes);
    result = table.check_records(progress, findings_);
    IndexedTable keys;
    if (ok(result) && compares() && !indexes_.empty()) result = table.open_for_keys(keys);
    for (OpenIndex& open : indexes_) {
      if (ok(result)) result = check_open(open, keys, progress);
    }
    return ok(result) ? end(table, progress) : result;
  }

  Result table() {
    HeldTable table(block_, findings_, path_of(request_.name, memo::kTableExtension));
    Result result = table.open(locked());
    if (ok(result)) result = table.open_memo(memo_path_of(request_.name), locked());
    Progress progress(block_, table.record_count());
    if (ok(result)) result = table.check_records(progress, unheard_);
    return ok(result) ? end(table, progress) : result;
  }

  Result memo_file() {
    const std::string path = memo::memo_path(request_.name);
    platform::File there;
    Result result = open_file(block_, path, open_mode::kReadOnly, there);
    if (!ok(result)) return result;
    HeldTable table(block_, unheard_, platform::resolve(memo::table_name(request_.name)));
    result = table.open(locked());
    if (ok(result)) result = table.open_memo(path, locked());
    Progress progress(block_, table.record_count());
    if (ok(result)) result = table.check_records(progress, findings_);
    return ok(result) ? end(table, progress) : result;
  }

  Result index_file(std::uint32_t kind_code) {
    const api::IndexKind* const kind = api::kind_of_spec(kind_code);
    listed_.push_back({kind, path_of(request_.name, kind->extension)});
    const bool alone = request_.options.table == nullptr || !compares();
    HeldTable table(block_, unheard_,
                    alone ? std::string() : path_of(request_.options.table, memo::kTableExtension));
    IndexedTable keys;
    Result result = alone ? Result::ok : table.open(locked());
    if (ok(result) && !alone) result = table.open_for_keys(keys);
    OpenIndex open = {listed_.front(), FileFindings(findings_, listed_.front().path),
                      HeldFile(block_)};
    if (ok(result)) result = open.file.open(open.index.path, hold_of_indexes());
    std::uint64_t trees = 0;
    if (ok(result)) result = count_trees(open.index, open.file, trees);
    Progress progress(block_, 2 * table.record_count() * trees);
    if (!ok(result)) return result;
    if (alone) return check_index(open.index, open.file, keys, open.findings, progress);
    result = check_open(open, keys, progress);
    return ok(result) ? end(table, progress) : result;
  }

  std::int32_t answer(Result result) const {
    return ok(result) ? findings_.errors() : code(result);
  }

 private:
  bool locked() const { return (request_.options.flags & VQ_CHECK_UNLOCKED) == 0; }
  bool compares() const { return (request_.options.flags & VQ_CHECK_FORM) == 0; }
  Hold hold_of_indexes() const { return locked() ? Hold::file : Hold::none; }

  // All indexes are locked before the first one is looked at, since a record that is written
  // meanwhile would be in one of them and not in another.
  Result open_indexes(const HeldTable& table, std::uint64_t& passes) {
    Result result = list_indexes(request_, table, findings_, listed_);
    for (const ListedIndex& index : listed_) {
      if (!ok(result)) break;
      OpenIndex& open = indexes_.emplace_back(
          OpenIndex{index, FileFindings(findings_, index.path), HeldFile(block_)});
      result = open_index(index, open.file, open.findings, hold_of_indexes());
      std::uint64_t trees = 0;
      if (ok(result) && open.file.is_open()) result = count_trees(index, open.file, trees);
      if (!open.file.is_open()) indexes_.pop_back();
      if (compares()) passes += 2 * trees;
    }
    return result;
  }

  Result check_open(OpenIndex& open, const IndexedTable& keys, Progress& progress) {
    if (compares() && keys.table == nullptr) {
      open.findings.add(VQ_F_NOT_COMPARED, {},
                        "The keys were not compared, since the table is damaged.");
    }
    return check_index(open.index, open.file, keys, open.findings, progress);
  }

  Result end(HeldTable& table, Progress& progress) {
    Result result = findings_.proceed();
    const bool may_change = !locked() || !table::lock_scheme_of(block_.index_kind).has_locks;
    if (ok(result) && may_change) result = table.confirm_unchanged();
    return ok(result) ? progress.finish() : result;
  }

  const Request& request_;
  VqBlock& block_;
  Findings findings_;
  Findings unheard_;
  std::vector<ListedIndex> listed_;
  std::list<OpenIndex> indexes_;
};

}  // namespace

std::int32_t check_group(const Request& request) {
  Check check(request);
  return check.answer(check.group());
}

std::int32_t check_table(const Request& request) {
  Check check(request);
  return check.answer(check.table());
}

std::int32_t check_memo_file(const Request& request) {
  Check check(request);
  return check.answer(check.memo_file());
}

std::int32_t check_ndx_file(const Request& request) {
  Check check(request);
  return check.answer(check.index_file(VQ_KIND_NDX));
}

std::int32_t check_mdx_file(const Request& request) {
  Check check(request);
  return check.answer(check.index_file(VQ_KIND_MDX));
}

}  // namespace vqdb::check
