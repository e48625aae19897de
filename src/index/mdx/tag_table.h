// The tag table of an MDX file: up to 47 entries, each a tag's name and the page of its header.
// Threads make a binary tree of the names for readers that search by it; other writers leave them
// 0, so entries are read by their numbers alone.
#ifndef VQDBSYS_INDEX_MDX_TAG_TABLE_H_
#define VQDBSYS_INDEX_MDX_TAG_TABLE_H_

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "index/mdx/mdx_header.h"

namespace vqdb::index {

inline constexpr std::size_t kTagTableAt = 512;  // in the file
inline constexpr std::size_t kTagTableBytes = 1536;
inline constexpr std::size_t kMaxTagName = 10;

using TagTableBytes = std::array<Byte, kTagTableBytes>;

struct TagEntry {
  PageNumber header_page = 0;
  std::array<char, kMaxTagName + 1> name = {};  // in capitals, zero-filled
  Byte format = 0;                              // as in the tag's header
  char key_type = 0;

  std::string_view name_text() const { return name.data(); }
};

// The entry of this number, from 1, whatever it says, and where it lies in the file.
TagEntry decode_tag_entry(const TagTableBytes& bytes, std::size_t number);
std::size_t tag_entry_offset(std::size_t number);
// Whether the threads lead to so many tags in the order of their names, or are all 0.
bool threads_hold(const TagTableBytes& bytes, std::size_t tags);

class TagTable {
 public:
  // False when an entry in use cannot be one: no name, a header outside the file or in the place of
  // another one's, a name that is there already.
  bool parse(const TagTableBytes& bytes, const MdxHeader& header);
  void format(TagTableBytes& bytes) const;

  std::span<const TagEntry> tags() const { return std::span(entries_).first(count_); }
  // The tag of this name, in any case; null when there is none.
  const TagEntry* find(std::string_view name) const;

  // REQUIRES fewer than kMaxTags tags, and none of this name.
  void add(const TagEntry& entry);
  // REQUIRES a tag of tags(). Those behind it move up.
  void remove(const TagEntry& entry);

 private:
  std::array<TagEntry, kMaxTags> entries_;
  std::uint32_t count_ = 0;
};

// The name of a tag in capitals; false when it is empty, too long, or holds anything but letters,
// digits and `_`, or begins with a digit.
bool make_tag_name(std::string_view text, std::array<char, kMaxTagName + 1>& name);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_TAG_TABLE_H_
