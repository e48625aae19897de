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

// Hands a file to the device, complete.
Result complete(VqBlock& block, platform::File& file) {
  const bool kept = file.sync().ok();
  return file.close().ok() && kept ? Result::ok : fail(block, Result::io, kRepair.detail(1));
}

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
  static constexpr std::size_t kTable = 0;
  static constexpr std::size_t kMemo = 1;

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
    std::array<std::string, 2> targets;
    auto outcome = platform::real_path(table.file().path(), targets[kTable]);
    if (outcome.ok()) outcome = platform::real_path(table.memo_file().path(), targets[kMemo]);
    // The table goes first, since others change it more.
    GrowingFiles growing(table::journal_of(table.file().path()), {targets[kTable], targets[kMemo]});
    if (outcome.ok()) outcome = growing.start();
    if (!outcome.ok()) return fail(block_, open_result(outcome.error), kRepair.detail(1));
    std::vector<Patch> patches;
    result = write_memos(table, growing, patches, progress);
    if (ok(result)) result = write_table(table, growing, patches);
    if (ok(result)) result = progress.finish();
    if (ok(result)) result = table.confirm_unchanged();
    if (!ok(result)) return result;
    if constexpr (!platform::kReplacesOpenFiles) {
      table.memo_file().close();
      table.file().close();
    }
    outcome = growing.put_in_place();
    return outcome.ok() ? Result::ok : fail(block_, open_result(outcome.error), kCompact.detail(2));
  }

 private:
  // Memos lie in the order of the records and, within one, of its fields.
  Result write_memos(HeldTable& table, const GrowingFiles& growing, std::vector<Patch>& patches,
                     Progress& progress) {
    std::vector<NamedMemo> memos = table.memo_form().memos;
    std::sort(memos.begin(), memos.end(), [](const NamedMemo& a, const NamedMemo& b) {
      const MemoReference& x = a.reference;
      const MemoReference& y = b.reference;
      return x.record != y.record ? x.record < y.record : x.field < y.field;
    });
    platform::File file;
    Result result = make(growing, kMemo, file);
    if (!ok(result)) return result;
    MemoWriter writer(table.memo_file(), table.memo_form(), file);
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
    return ok(result) ? complete(block_, file) : result;
  }

  Result write_table(HeldTable& table, const GrowingFiles& growing,
                     const std::vector<Patch>& patches) {
    platform::File file;
    Result result = make(growing, kTable, file);
    if (ok(result)) result = write_patched(table.file(), table.file().size(), patches, file);
    return ok(result) ? complete(block_, file) : result;
  }

  Result make(const GrowingFiles& growing, std::size_t number, platform::File& file) {
    const auto made = file.create_replacement(growing.path(number), growing.target(number));
    return made.ok() ? Result::ok : fail(block_, open_result(made.error), kRepair.detail(1));
  }

  VqBlock& block_;
  const char* const name_;
};

}  // namespace

std::int32_t compact_group(VqBlock& block, const char* name) {
  return code(Compaction(block, name).run());
}

}  // namespace vqdb::check
