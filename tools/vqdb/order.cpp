#include "order.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "dates.h"
#include "field_writer.h"
#include "file_names.h"
#include "index_group.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::uint32_t kReadOnlyShared = VQ_OPEN_READ_ONLY | VQ_OPEN_SHARED_CACHED;
constexpr int kPageBuffers = 256;
// Entries read under one lock of the index file.
constexpr std::size_t kEntriesAtOnce = 256;
constexpr std::uint32_t kDoubleKey = 2;
constexpr std::uint32_t kPackedKey = 16;

}  // namespace

// The operations of one kind of index.
struct Order::Calls {
  int32_t(VQ_CALL* seek)(VqIndex*, const void*, uint32_t*);
  int32_t(VQ_CALL* next)(VqIndex*, void*, uint32_t*);
  int32_t(VQ_CALL* previous)(VqIndex*, void*, uint32_t*);
  int32_t(VQ_CALL* forward)(VqIndex*);
  int32_t(VQ_CALL* key_length)(VqIndex*);
  int32_t(VQ_CALL* key_type)(VqIndex*);
  int32_t(VQ_CALL* lock)(VqIndex*);
  int32_t(VQ_CALL* unlock)(VqIndex*);
  int32_t(VQ_CALL* close)(VqIndex*);
  std::uint32_t number_kind;  // of dUnftonk
};

namespace {

std::optional<std::string> index_path(const Table& table, const std::string& name) {
  for (const std::string& candidate : {name, folder_of(table.path()) + name}) {
    if (const auto path = find_file(candidate)) return path;
  }
  return std::nullopt;
}

// The tag that a bare name may mean: one of the production index.
bool has_tag(const Table& table, const std::string& mdx, const std::string& tag) {
  const auto facts = index_facts(table, {VQ_KIND_MDX, mdx, true});
  return std::ranges::any_of(facts,
                             [&](const IndexFacts& f) { return equal_ignoring_case(f.tag, tag); });
}

// File and tag of "byname", "orders.mdx;byname", or the tag "byname" of the table's own MDX file.
NamePair locate(const Table& table, const std::string& name) {
  const NamePair parts = split_at_semicolon(name);
  const char* const extension = parts.second.empty() ? "ndx" : "mdx";
  const std::string file = with_extension(parts.first, extension);
  if (const auto path = index_path(table, file)) {
    if (index_kind_of(*path) == VQ_KIND_MDX && parts.second.empty()) {
      stop_usage("{}: which tag? {};TAG", name, name);
    }
    return {*path, parts.second};
  }
  const auto mdx = find_file(replace_extension(table.path(), "mdx"));
  if (mdx && parts.second.empty() && has_tag(table, *mdx, name)) return {*mdx, name};
  stop_failed("{}: there is no such index file", file);
}

}  // namespace

Order::Order(const Table& table, const std::string& name, bool reverse)
    : table_(table), name_(name), reverse_(reverse) {
  static constexpr Calls kNdx = {dNgetrno, dNnxtkey, dNprvkey, dNforwrd, dNkeylen,
                                 dNkeytyp, dNlkfil,  dNulkfil, dNclose,  kDoubleKey};
  static constexpr Calls kMdx = {dXgetrno, dXnxtkey, dXprvkey, dXforwrd, dXkeylen,
                                 dXkeytyp, dXlkfil,  dXulkfil, dXclose,  kPackedKey};
  const NamePair place = locate(table, name);
  calls_ = place.second.empty() ? &kNdx : &kMdx;
  const auto open = place.second.empty() ? dNopen : dXopen;
  file_ = open(table.handle(), place.first.c_str(), kReadOnlyShared, kPageBuffers);
  if (file_ == nullptr) stop_unopened(table.block(), place.first);
  tag_ = place.second.empty() ? file_ : dXactidx(file_, place.second.c_str());
  if (tag_ == nullptr) {
    calls_->close(file_);
    stop_unopened(table.block(), name);
  }
  key_type_ = static_cast<char>(calls_->key_type(tag_));
  key_length_ = static_cast<std::size_t>(calls_->key_length(tag_));
  key_.resize(key_length_ + 1);
  if (reverse_) calls_->forward(tag_);
}

Order::~Order() {
  if (tag_ != file_) dXdeaidx(tag_);
  calls_->close(file_);
}

void Order::stop(int32_t result) const {
  stop_failed("{}: {}", name_, words_of(result, table_.block().detail));
}

std::string Order::key_of(const std::string& text, bool padded) const {
  if (key_type_ == 'C') {
    std::string key = table_.encode(text);
    if (key.size() > key_length_) {
      stop_usage("the key \"{}\" is longer than the {} bytes of {}", text, key_length_, name_);
    }
    if (padded) key.resize(key_length_, ' ');
    return key;
  }
  std::string key(key_length_, '\0');
  // Files of the dBASE III form keep dates as numbers without saying so.
  const auto date = parse_date(text);
  if (key_type_ == 'D' || (date && text.find('-') == 4)) {
    if (!date) stop_usage("the key \"{}\" is no date such as 2024-01-31", text);
    dU3itodk(&table_.block(), kDoubleKey, date->month, date->day, date->year, key.data());
    return key;
  }
  Decimal number;
  if (!parse_decimal(text, number)) stop_usage("the key \"{}\" is no number", text);
  require(table_.block(),
          dUnftonk(&table_.block(), calls_->number_kind, text.c_str(),
                   static_cast<int32_t>(text.size()), key.data()),
          text);
  return key;
}

bool Order::step(bool back, std::uint32_t& recno) {
  const int32_t result = (back ? calls_->previous : calls_->next)(tag_, key_.data(), &recno);
  if (result == VQ_OK) return true;
  if (result == (back ? VQ_E_INDEX_START : VQ_E_INDEX_END)) return false;
  stop(result);
}

// Whether there is an entry at or behind the key; it becomes the next to be delivered.
bool Order::seek(const std::string& key, std::uint32_t& recno) {
  const int32_t result = calls_->seek(tag_, key.data(), &recno);
  if (result != VQ_OK && result != VQ_E_NOT_FOUND) stop(result);
  if (result == VQ_E_NOT_FOUND && recno == 0) return false;
  std::memcpy(key_.data(), key.data(), key.size());
  return true;
}

void Order::start_at(const std::string& text) {
  const std::string key = key_of(text, true);
  std::uint32_t recno = 0;
  const bool found = seek(key, recno);
  if (!reverse_) {
    at_end_ = !found;
    if (found) ahead_.push_back(recno);
    return;
  }
  // The last entry of this key, or the one before where it would stand.
  if (!found) {
    calls_->forward(tag_);
    return;
  }
  if (calls_->seek(tag_, key.data(), &recno) != VQ_OK) return;
  do {
    ahead_.push_front(recno);
  } while (step(false, recno) && std::memcmp(key_.data(), key.data(), key.size()) == 0);
  calls_->seek(tag_, key.data(), &recno);
}

void Order::find(const std::string& text, bool prefix) {
  const std::string key = key_of(text, true);
  wanted_ = prefix ? key_of(text, false) : key;
  only_wanted_ = true;
  at_end_ = true;
  std::uint32_t recno = 0;
  const int32_t result = calls_->seek(tag_, key.data(), &recno);
  if (result != VQ_OK && result != VQ_E_NOT_FOUND) stop(result);
  if (result == VQ_OK) {
    ahead_.push_back(recno);
    at_end_ = false;
  } else if (recno != 0 && prefix) {
    // The entry found lies behind the key: step to it, to see its key.
    if (step(true, recno) ? step(false, recno) : step(false, recno)) {
      at_end_ = std::memcmp(key_.data(), wanted_.data(), wanted_.size()) != 0;
      if (!at_end_) ahead_.push_back(recno);
    }
  }
}

void Order::fill() {
  const bool locked = calls_->lock(file_) == VQ_OK;
  std::uint32_t recno = 0;
  while (ahead_.size() < kEntriesAtOnce) {
    if (!step(reverse_, recno) ||
        (only_wanted_ && std::memcmp(key_.data(), wanted_.data(), wanted_.size()) != 0)) {
      at_end_ = true;
      break;
    }
    ahead_.push_back(recno);
  }
  if (locked) calls_->unlock(file_);
}

bool Order::next(std::uint32_t& recno) {
  if (ahead_.empty() && !at_end_) fill();
  if (ahead_.empty()) return false;
  recno = ahead_.front();
  ahead_.pop_front();
  return true;
}

}  // namespace tool
