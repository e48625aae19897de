#include "index/mdx/tag_table.h"

#include <algorithm>
#include <string>

namespace vqdb::index {
namespace {

constexpr std::size_t kEntryBytes = 32;
constexpr std::size_t kHeaderPageAt = 0;
constexpr std::size_t kNameAt = 4;
constexpr std::size_t kFormatAt = 15;
constexpr std::size_t kBeforeAt = 16;
constexpr std::size_t kAfterAt = 17;
constexpr std::size_t kParentAt = 18;
constexpr std::size_t kByte19At = 19;
constexpr std::size_t kKeyTypeAt = 20;
constexpr Byte kByte19 = 2;

// Entries count from 1; entry 0 holds no tag but, where another one has the tag that sorts after
// it, the root of the threads.
Byte* entry_at(TagTableBytes& bytes, std::size_t number) { return &bytes[number * kEntryBytes]; }
const Byte* entry_at(const TagTableBytes& bytes, std::size_t number) {
  return &bytes[number * kEntryBytes];
}

// Hangs the entry below the first free thread on its way through the tree, whose root is entry 1.
void thread_in(TagTableBytes& bytes, std::span<const TagEntry> tags, std::size_t number) {
  std::size_t parent = 1;
  for (;;) {
    const bool before = tags[number - 1].name_text() < tags[parent - 1].name_text();
    Byte& thread = entry_at(bytes, parent)[before ? kBeforeAt : kAfterAt];
    if (thread == 0) {
      thread = static_cast<Byte>(number);
      entry_at(bytes, number)[kParentAt] = static_cast<Byte>(parent);
      return;
    }
    parent = thread;
  }
}

// Goes through the tags below one in order. `last` is the name before, `left` how many tags there
// still can be.
bool walk_threads(const TagTableBytes& bytes, std::size_t tags, std::size_t number,
                  std::string& last, std::size_t& left) {
  if (number == 0) return true;
  if (number > tags || left == 0) return false;
  --left;
  const Byte* const entry = entry_at(bytes, number);
  if (!walk_threads(bytes, tags, entry[kBeforeAt], last, left)) return false;
  const std::string name(decode_tag_entry(bytes, number).name_text());
  if (name <= last) return false;
  last = name;
  return walk_threads(bytes, tags, entry[kAfterAt], last, left);
}

}  // namespace

std::size_t tag_entry_offset(std::size_t number) { return kTagTableAt + number * kEntryBytes; }

TagEntry decode_tag_entry(const TagTableBytes& bytes, std::size_t number) {
  const Byte* const from = entry_at(bytes, number);
  TagEntry entry;
  entry.header_page = load_le32(from + kHeaderPageAt);
  const auto* const name = reinterpret_cast<const char*>(from + kNameAt);
  const std::string_view text(name, std::find(name, name + kMaxTagName, '\0'));
  std::ranges::transform(text, entry.name.begin(), to_upper);
  entry.format = from[kFormatAt];
  entry.key_type = static_cast<char>(from[kKeyTypeAt]);
  return entry;
}

bool threads_hold(const TagTableBytes& bytes, std::size_t tags) {
  bool threaded = false;
  for (std::size_t number = 1; number <= tags; ++number) {
    const Byte* const entry = entry_at(bytes, number);
    threaded = threaded || entry[kBeforeAt] != 0 || entry[kAfterAt] != 0 || entry[kParentAt] != 0;
  }
  if (!threaded) return true;
  const Byte root = entry_at(bytes, 0)[kAfterAt];
  std::string last;
  std::size_t left = tags;
  return walk_threads(bytes, tags, root != 0 ? root : 1, last, left) && left == 0;
}

bool TagTable::parse(const TagTableBytes& bytes, const MdxHeader& header) {
  count_ = 0;
  for (std::size_t number = 1; number <= header.tags; ++number) {
    const TagEntry entry = decode_tag_entry(bytes, number);
    const std::string_view text = entry.name_text();
    const bool taken = std::ranges::any_of(
        tags(), [&](const TagEntry& other) { return other.header_page == entry.header_page; });
    if (text.empty() || taken || !header.holds_block(entry.header_page) || find(text) != nullptr) {
      return false;
    }
    add(entry);
  }
  return true;
}

void TagTable::format(TagTableBytes& bytes) const {
  bytes.fill(0);
  if (count_ > 0) entry_at(bytes, 0)[kAfterAt] = 1;
  for (std::size_t number = 1; number <= count_; ++number) {
    const TagEntry& entry = entries_[number - 1];
    Byte* const to = entry_at(bytes, number);
    store_le32(to + kHeaderPageAt, entry.header_page);
    std::ranges::copy(entry.name, to + kNameAt);
    to[kFormatAt] = entry.format;
    to[kByte19At] = kByte19;
    to[kKeyTypeAt] = static_cast<Byte>(entry.key_type);
    if (number > 1) thread_in(bytes, tags(), number);
  }
}

const TagEntry* TagTable::find(std::string_view name) const {
  const auto found = std::ranges::find_if(
      tags(), [&](const TagEntry& entry) { return equal_ignoring_case(entry.name_text(), name); });
  return found != tags().end() ? &*found : nullptr;
}

void TagTable::add(const TagEntry& entry) { entries_[count_++] = entry; }

void TagTable::remove(const TagEntry& entry) {
  TagEntry* const gap = &entries_[static_cast<std::size_t>(&entry - entries_.data())];
  std::copy(gap + 1, &entries_[count_], gap);
  --count_;
}

bool make_tag_name(std::string_view text, std::array<char, kMaxTagName + 1>& name) {
  name = {};
  if (text.empty() || text.size() > kMaxTagName || is_digit(text.front())) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!is_letter(text[i]) && !is_digit(text[i]) && text[i] != '_') return false;
    name[i] = to_upper(text[i]);
  }
  return true;
}

}  // namespace vqdb::index
