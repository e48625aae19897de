#include "check/table_records.h"

#include <algorithm>
#include <string_view>

#include "check/field_bytes.h"
#include "check/operations.h"
#include "memo/reference.h"
#include "platform/memory.h"
#include "table/create.h"
#include "table/records.h"

namespace vqdb::check {
namespace {

constexpr std::size_t kBytesAtOnce = std::size_t{256} << 10;

// A field that has to be looked at.
struct Watched {
  std::uint32_t field;
  std::uint32_t offset;
  std::size_t length;
  BytesRule rule;
  bool is_memo;
};

std::vector<Watched> watched_fields(const TableForm& form) {
  std::vector<Watched> watched;
  for (std::uint32_t i = 0; i < form.fields.size(); ++i) {
    const table::Field& field = form.fields[i];
    const BytesRule rule = bytes_rule(field.type);
    const bool is_memo = table::is_memo_type(field.type) && field.length == memo::kReferenceWidth;
    if (rule != nullptr) watched.push_back({i, field.offset, field.length, rule, is_memo});
  }
  return watched;
}

// The bytes as a reader can make them out.
std::string shown(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<Byte>(byte);
    if (value >= 0x20 && value < 0x7F) {
      text += byte;
    } else {
      text.append("\\x").append(1, kDigits[value >> 4]).append(1, kDigits[value & 15]);
    }
  }
  return text;
}

class RecordPass {
 public:
  RecordPass(HeldFile& file, const TableForm& form, FileFindings& findings, RecordFacts& facts)
      : file_(file),
        form_(form),
        findings_(findings),
        facts_(facts),
        watched_(watched_fields(form)) {}

  Result run(Progress& progress) {
    const std::size_t at_once = std::max<std::size_t>(1, kBytesAtOnce / form_.record_length);
    const platform::Bytes bytes = platform::allocate_bytes(at_once * form_.record_length);
    if (bytes == nullptr) return fail(file_.block(), Result::no_memory, kCheck.detail(3));
    for (std::uint64_t first = 1; first <= form_.count; first += at_once) {
      const auto count =
          static_cast<std::size_t>(std::min<std::uint64_t>(at_once, form_.count - first + 1));
      Result result = file_.read(form_.offset_of(first), bytes.get(), count * form_.record_length);
      for (std::size_t i = 0; ok(result) && i < count; ++i) {
        check(static_cast<std::uint32_t>(first + i), bytes.get() + i * form_.record_length);
        result = progress.step();
      }
      if (ok(result)) result = findings_.proceed();
      if (!ok(result)) return result;
    }
    return Result::ok;
  }

 private:
  void check(std::uint32_t recno, const Byte* record) {
    const auto* const text = reinterpret_cast<const char*>(record);
    if (*text != table::kLive && *text != table::kDeleted) {
      facts_.wild_flags.push_back(recno);
      findings_.add(
          VQ_F_DELETION_FLAG, {.offset = form_.offset_of(recno), .record = recno},
          "The deletion flag is neither blank nor asterisk: \"" + shown({text, 1}) + "\".");
    }
    for (const Watched& field : watched_) {
      const std::string_view value(text + field.offset, field.length);
      const bool is_wild = !field.rule(value);
      if (is_wild) report(recno, field, value);
      if (!field.is_memo) continue;
      if (is_wild) ++facts_.wild_references;
      const std::uint64_t block = memo::parse_reference(value.data());
      if (block != 0) facts_.references.push_back({block, recno, field.field});
    }
  }

  void report(std::uint32_t recno, const Watched& field, std::string_view value) {
    findings_.add(VQ_F_FIELD_BYTES,
                  {.offset = form_.offset_of(recno) + field.offset,
                   .record = recno,
                   .name = form_.fields[field.field].name.data()},
                  "The field's type has no such bytes: \"" + shown(value) + "\".");
  }

  HeldFile& file_;
  const TableForm& form_;
  FileFindings& findings_;
  RecordFacts& facts_;
  const std::vector<Watched> watched_;
};

}  // namespace

Result check_records(HeldFile& file, const TableForm& form, FileFindings& findings,
                     Progress& progress, RecordFacts& facts) {
  return RecordPass(file, form, findings, facts).run(progress);
}

}  // namespace vqdb::check
