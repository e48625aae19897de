#include "index/mdx/mdx_describe.h"

#include <algorithm>

#include "index/ndx/ndx_describe.h"

namespace vqdb::index {
namespace {

constexpr Operation kExpression{105};
constexpr Operation kExpressionLength{106};
constexpr Operation kList{128};
constexpr Operation kSortedList{129};

// An entry of a tag list.
constexpr std::size_t kListEntryBytes = 19;
constexpr std::size_t kListNameAt = 4;
constexpr std::size_t kListFlagsAt = 15;
constexpr std::int32_t kDescendingTag = 8;

std::int32_t flags_of(const TagFormat& format) {
  return (format.unique ? kUniqueIndex : 0) + (format.descending ? kDescendingTag : 0);
}

Result write_list(MdxFile& file, Byte* to, bool by_name) {
  std::array<const TagEntry*, kMaxTags> order;
  const auto tags = file.store.tags().tags();
  std::ranges::transform(tags, order.begin(), [](const TagEntry& entry) { return &entry; });
  const auto entries = std::span(order).first(tags.size());
  if (by_name) std::ranges::sort(entries, {}, [](const TagEntry* e) { return e->name_text(); });
  for (const TagEntry* const entry : entries) {
    TagHeaderImage image;
    TagHeader header;
    if (const Result result = read_tag_header(file.store, entry->header_page, image, header);
        !ok(result)) {
      return result;
    }
    store_le32(to, entry->header_page);
    std::ranges::copy(entry->name, to + kListNameAt);
    store_le32(to + kListFlagsAt, static_cast<std::uint32_t>(flags_of(header.format)));
    to += kListEntryBytes;
  }
  return Result::ok;
}

}  // namespace

Result tag_expression(const MdxTag& tag, char* text, std::int32_t size, std::int32_t* flags) {
  const TagHeader& header = tag.header;
  if (text == nullptr) return fail(tag.block, Result::out_of_range, kExpression.detail(2));
  if (size < static_cast<std::int32_t>(header.key.size() + header.filter.size() + 2)) {
    return fail(tag.block, Result::out_of_range, kExpression.detail(3));
  }
  char* end = std::ranges::copy(header.key, text).out;
  *end++ = '\0';
  end = std::ranges::copy(header.filter, end).out;
  *end = '\0';
  if (flags != nullptr) *flags = flags_of(header.format);
  return Result::ok;
}

Result tag_expression_length(const MdxTag& tag, std::int32_t* length, std::int32_t* flags) {
  if (length == nullptr) return fail(tag.block, Result::out_of_range, kExpressionLength.detail(2));
  *length = static_cast<std::int32_t>(tag.header.key.size());
  if (flags != nullptr) *flags = static_cast<std::int32_t>(tag.header.filter.size());
  return Result::ok;
}

std::int32_t count_tags(MdxFile& file) {
  std::size_t count = 0;
  const Result result = in_bracket(file.store, Purpose::changing, [&] {
    count = file.store.tags().tags().size();
    return Result::ok;
  });
  return ok(result) ? static_cast<std::int32_t>(count) : code(result);
}

Result list_tags(MdxFile& file, void* list, bool by_name) {
  if (list == nullptr) {
    return fail(file.block, Result::out_of_range, (by_name ? kSortedList : kList).detail(2));
  }
  return in_bracket(file.store, Purpose::changing,
                    [&] { return write_list(file, static_cast<Byte*>(list), by_name); });
}

}  // namespace vqdb::index
