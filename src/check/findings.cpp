#include "check/findings.h"

#include <algorithm>
#include <array>
#include <limits>

#include "check/held_file.h"
#include "frame/progress.h"

namespace vqdb::check {
namespace {

// All other codes are errors.
constexpr std::array kNotes = {
    VQ_F_END_MARK_MISSING, VQ_F_TAIL,   VQ_F_BLOCKS_LOST, VQ_F_PAGES_LOST,   VQ_F_NOT_COMPARED,
    VQ_F_BACKUP,           VQ_F_MENDED, VQ_F_REBUILT,     VQ_F_MEMO_UNNAMED, VQ_F_INDEX_UNFINISHED,
};
constexpr std::array kWarnings = {
    VQ_F_RECORD_SLACK,  VQ_F_UPDATE_DATE, VQ_F_FIELD_LETTERS,      VQ_F_FIELDS_END,
    VQ_F_END_MARK,      VQ_F_FIELD_BYTES, VQ_F_PRODUCTION_MISSING, VQ_F_MEMO_MARK,
    VQ_F_NEXT_FREE_OLD, VQ_F_PAGE_EMPTY,  VQ_F_TAG_THREADS,        VQ_F_NOT_MENDED,
};

template <typename List>
bool holds(const List& list, std::int32_t code) {
  return std::find(list.begin(), list.end(), code) != list.end();
}

}  // namespace

std::int32_t severity_of(std::int32_t code) {
  if (holds(kNotes, code)) return VQ_SEVERITY_NOTE;
  return holds(kWarnings, code) ? VQ_SEVERITY_WARNING : VQ_SEVERITY_ERROR;
}

void Findings::add(const char* file, std::int32_t code, const Place& place, const char* text) {
  if (stopped_) return;
  const std::int32_t severity = severity_of(code);
  if (severity == VQ_SEVERITY_ERROR && errors_ < std::numeric_limits<std::int32_t>::max()) {
    ++errors_;
  }
  if (report_ == nullptr) return;
  const VqFinding finding = {place.offset, severity, code,       place.record,
                             place.page,   file,     place.name, text};
  stopped_ = report_(context_, &finding) != 0;
}

Result Findings::proceed() const {
  return stopped_ ? fail(block_, Result::cancelled, kCancelledDetail) : Result::ok;
}

Result complete_index(HeldFile& file, FileFindings& findings, std::uint32_t end) {
  bool found = false;
  const Result result = file.take_up_log(end, found);
  if (!ok(result)) return result;
  if (found) {
    findings.add(VQ_F_INDEX_UNFINISHED, {},
                 "A flush stopped; whoever opens the index completes it.");
  } else {
    findings.add(VQ_F_INDEX_HEADER, {}, "A flush stopped, and nothing tells what is missing.");
  }
  return Result::ok;
}

std::string numbered(std::string_view before, std::uint64_t number, std::string_view behind) {
  return std::string(before).append(std::to_string(number)).append(behind);
}

}  // namespace vqdb::check
