#include "check/compact.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "check/group.h"
#include "check/held_table.h"
#include "check/operations.h"
#include "check/patched_copy.h"
#include "frame/file_name.h"
#include "frame/replacements.h"
#include "frame/system_file.h"
#include "memo/creation.h"
#include "memo/file_layout.h"
#include "memo/names.h"
#include "memo/reference.h"
#include "table/interrupted.h"

namespace vqdb::check {
namespace {

// A file that is to take the place of another one, beside it. Removed unless it did, or a journal
// says that it will.
class Pending {
 public:
  Pending(const std::string& target, const std::string& journal)
      : target_(platform::real_path(target)), path_(growing_beside(target_)), journal_(journal) {}
  ~Pending() {
    (void)file_.close();
    if (made_ && !platform::exists(journal_)) (void)platform::remove(path_);
  }
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  platform::Outcome make() {
    // One that is there is what a crash left.
    (void)platform::remove(path_);
    const platform::Outcome outcome = file_.create_replacement(path_, target_);
    made_ = outcome.ok();
    return outcome;
  }
  platform::Outcome complete() {
    const platform::Outcome outcome = file_.sync();
    const platform::Outcome closed = file_.close();
    return outcome.ok() ? closed : outcome;
  }
  void keep() { made_ = false; }

  platform::File& file() { return file_; }
  const std::string& target() const { return target_; }

 private:
  const std::string target_;
  const std::string path_;
  const std::string& journal_;
  platform::File file_;
  bool made_ = false;
};

// Writes memos one behind the other into a new file.
class MemoWriter {
 public:
  MemoWriter(HeldFile& from, const MemoForm& form, platform::File& to)
      : from_(from), form_(form), to_(to), is_dbase4_(form.layout == memo::Layout::dbase4) {}

  // The block of the copy; 0 for a dBASE III memo without a text, which that layout cannot hold.
  Result copy(const NamedMemo& memo, std::uint64_t& block) {
    const std::uint64_t head = is_dbase4_ ? memo::kMemoHeaderBytes : 0;
    block = 0;
    if (!is_dbase4_ && memo.length == 0) return Result::ok;
    const std::uint64_t from = memo.reference.block * form_.block_size;
    const std::uint64_t start = next_ * form_.block_size;
    Result result = write_again(from_, from, head + memo.length, to_, start);
    if (ok(result) && !is_dbase4_) result = write(start + memo.length, "\x1A\x1A");
    block = next_;
    const auto length = static_cast<std::uint32_t>(memo.length);
    next_ += is_dbase4_ ? memo::blocks_for(length, form_.block_size)
                        : (length + 1) / memo::kDbase3BlockSize + 1;
    return result;
  }

  Result finish() {
    Result result = memo::write_empty(from_.block(), to_, form_.layout, base_name(from_.path()));
    std::string number(4, '\0');
    store_le32(number.data(), static_cast<std::uint32_t>(next_));
    if (ok(result)) result = write(memo::kNextFreeOffset, number);
    if (!ok(result) || !is_dbase4_) return result;
    store_le16(number.data(), static_cast<std::uint16_t>(form_.block_size));
    return write(memo::kBlockSizeOffset, std::string_view(number).substr(0, 2));
  }

 private:
  Result write(std::uint64_t offset, std::string_view bytes) {
    return to_.write_at(offset, bytes.data(), bytes.size()).ok()
               ? Result::ok
               : fail(from_.block(), Result::io, kRepair.detail(1));
  }

  HeldFile& from_;
  const MemoForm& form_;
  platform::File& to_;
  const bool is_dbase4_;
  std::uint64_t next_ = 1;
};

class Compaction {
 public:
  Compaction(VqBlock& block, const char* name) : block_(block), name_(name) {}

  Result run() {
    Findings unheard(block_, nullptr, nullptr);
    HeldTable table(block_, unheard, path_of(name_, memo::kTableExtension));
    Result result = table.open(true);
    if (ok(result)) result = table.open_memo(memo_path_of(name_), true);
    Progress progress(block_, 2 * table.record_count());
    if (ok(result)) result = table.check_records(progress, unheard);
    if (!ok(result)) return result;
    const bool is_known = unheard.errors() == 0 && table.facts().wild_references == 0;
    if (!is_known) return fail(block_, Result::bad_format, kCompact.detail(1));
    if (!table.memo_form().is_memo_file) return Result::ok;
    const std::string journal = table::journal_of(table.file().path());
    Pending new_memo(table.memo_file().path(), journal);
    Pending new_table(table.file().path(), journal);
    std::vector<Patch> patches;
    result = write_memos(table, new_memo, patches, progress);
    if (ok(result)) result = write_table(table, new_table, patches);
    if (ok(result)) result = progress.finish();
    if (!ok(result)) return result;
    result = table.confirm_unchanged();
    if (!ok(result)) return result;
    if constexpr (!platform::kReplacesOpenFiles) {
      table.memo_file().close();
      table.file().close();
    }
    // The table goes first, since others change it more.
    const std::array<std::string, 2> files = {new_table.target(), new_memo.target()};
    const platform::Outcome placed = replace_together(journal, files);
    if (placed.ok()) {
      new_memo.keep();
      new_table.keep();
    }
    return placed.ok() ? Result::ok : fail(block_, open_result(placed.error), kCompact.detail(2));
  }

 private:
  // Memos lie in the order of the records and, within one, of its fields.
  Result write_memos(HeldTable& table, Pending& out, std::vector<Patch>& patches,
                     Progress& progress) {
    std::vector<NamedMemo> memos = table.memo_form().memos;
    std::sort(memos.begin(), memos.end(), [](const NamedMemo& a, const NamedMemo& b) {
      const MemoReference& x = a.reference;
      const MemoReference& y = b.reference;
      return x.record != y.record ? x.record < y.record : x.field < y.field;
    });
    if (const auto made = out.make(); !made.ok()) {
      return fail(block_, open_result(made.error), kRepair.detail(1));
    }
    MemoWriter writer(table.memo_file(), table.memo_form(), out.file());
    Result result = Result::ok;
    for (const NamedMemo& memo : memos) {
      std::uint64_t place = 0;
      result = writer.copy(memo, place);
      if (ok(result)) result = progress.step();
      if (!ok(result)) return result;
      std::string text(memo::kReferenceWidth, ' ');
      if (place != 0) memo::write_reference(static_cast<std::uint32_t>(place), text.data());
      patches.push_back({memo.reference.offset_in(table.form()), std::move(text)});
    }
    result = writer.finish();
    return ok(result) && !out.complete().ok() ? fail(block_, Result::io, kRepair.detail(1))
                                              : result;
  }

  Result write_table(HeldTable& table, Pending& out, const std::vector<Patch>& patches) {
    if (const auto made = out.make(); !made.ok()) {
      return fail(block_, open_result(made.error), kRepair.detail(1));
    }
    const Result result = write_patched(table.file(), table.file().size(), patches, out.file());
    return ok(result) && !out.complete().ok() ? fail(block_, Result::io, kRepair.detail(1))
                                              : result;
  }

  VqBlock& block_;
  const char* const name_;
};

}  // namespace

std::int32_t compact_group(VqBlock& block, const char* name) {
  return code(Compaction(block, name).run());
}

}  // namespace vqdb::check
