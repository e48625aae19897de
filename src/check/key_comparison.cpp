#include "check/key_comparison.h"

#include <algorithm>

#include "index/keys/stream_order.h"

namespace vqdb::check {

Result KeyComparison::advance() { return expected_.next(next_); }

int KeyComparison::compare_with_next(const Byte* key) const {
  return shape_.order->compare(next_ + index::kEntryHead, key, shape_.layout.key_length);
}

void KeyComparison::report_missing(std::uint32_t recno) {
  findings_.add(VQ_F_KEY_MISSING, {.record = recno, .name = shape_.name},
                numbered("The key of record ", recno, " is not in the index."));
}

void KeyComparison::report_entry(std::int32_t code, const Entry& entry, const char* text) {
  findings_.add(code,
                {.offset = std::uint64_t{entry.page} * shape_.unit_bytes,
                 .record = entry.recno,
                 .page = entry.page,
                 .name = shape_.name},
                numbered("The entry for record ", entry.recno, text));
}

Result KeyComparison::take(const Byte* key, std::uint32_t recno, index::PageNumber page) {
  const std::uint32_t length = shape_.layout.key_length;
  if (!run_.empty() && shape_.order->compare(key_.data(), key, length) != 0) {
    if (const Result result = close_run(); !ok(result)) return result;
  }
  if (run_.empty()) std::copy_n(key, length, key_.begin());
  run_.push_back({recno, page});
  return progress_.step();
}

Result KeyComparison::finish() {
  if (const Result result = close_run(); !ok(result)) return result;
  while (next_ != nullptr) {
    std::copy_n(next_ + index::kEntryHead, shape_.layout.key_length, key_.begin());
    if (const Result result = close_run(); !ok(result)) return result;
  }
  return Result::ok;
}

// The expected entries up to and including the run's key.
Result KeyComparison::take_expected_run() {
  wanted_.clear();
  while (next_ != nullptr) {
    const int order = compare_with_next(key_.data());
    if (order > 0) break;
    const std::uint32_t recno = load_le32(next_);
    if (order == 0) {
      wanted_.push_back(recno);
    } else {
      report_missing(recno);
    }
    if (const Result result = advance(); !ok(result)) return result;
  }
  return Result::ok;
}

Result KeyComparison::close_run() {
  if (const Result result = take_expected_run(); !ok(result)) return result;
  std::sort(run_.begin(), run_.end(),
            [](const Entry& a, const Entry& b) { return a.recno < b.recno; });
  std::sort(wanted_.begin(), wanted_.end());
  if (shape_.unique) {
    compare_unique_run();
  } else {
    compare_run();
  }
  run_.clear();
  return findings_.proceed();
}

void KeyComparison::compare_run() {
  auto wanted = wanted_.begin();
  for (std::size_t i = 0; i < run_.size(); ++i) {
    const Entry& entry = run_[i];
    for (; wanted != wanted_.end() && *wanted < entry.recno; ++wanted) report_missing(*wanted);
    if (i > 0 && run_[i - 1].recno == entry.recno) {
      report_entry(VQ_F_RECORD_TWICE, entry, " is there twice.");
    } else if (wanted != wanted_.end() && *wanted == entry.recno) {
      ++wanted;
    } else if (entry.recno != 0 && entry.recno <= records_) {
      report_entry(VQ_F_KEY_EXTRA, entry, " has a key that the record does not make.");
    }
  }
  for (; wanted != wanted_.end(); ++wanted) report_missing(*wanted);
}

// One of the key's records is entered; further entries have been reported with their page.
void KeyComparison::compare_unique_run() {
  bool entered = false;
  for (const Entry& entry : run_) {
    if (std::binary_search(wanted_.begin(), wanted_.end(), entry.recno)) {
      entered = true;
    } else if (entry.recno != 0 && entry.recno <= records_) {
      report_entry(VQ_F_KEY_EXTRA, entry, " has a key that the record does not make.");
    }
  }
  if (!entered && !wanted_.empty()) report_missing(wanted_.front());
}

}  // namespace vqdb::check
