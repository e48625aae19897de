#include "index/keys/stream_order.h"

#include <charconv>
#include <utility>

#include "frame/bytes.h"
#include "index/keys/key_compare.h"

namespace vqdb::index {
namespace {

// Columns by key type.
constexpr std::string_view kTypes = "CNFT";

struct Cell {
  bool filled;
  StreamOrder order;
};

constexpr Cell text(bool descending, bool by_record) {
  return {true, {KeyKind::text, descending, by_record}};
}
constexpr Cell packed(bool descending, bool by_record) {
  return {true, {KeyKind::packed_number, descending, by_record}};
}
constexpr Cell number(bool descending, bool by_record) {
  return {true, {KeyKind::number, descending, by_record}};
}
constexpr Cell kEmpty{};
constexpr bool kUp = false;
constexpr bool kDown = true;
constexpr bool kByRecord = true;
constexpr bool kKeysOnly = false;

// Rows by family, uniqueness and direction: MDX 0..3, NDX 4..7.
constexpr Cell kCells[8][4] = {
    {text(kUp, kByRecord), packed(kUp, kByRecord), packed(kUp, kByRecord), number(kUp, kByRecord)},
    {text(kDown, kByRecord), packed(kDown, kByRecord), packed(kDown, kByRecord),
     number(kDown, kByRecord)},
    {text(kUp, kKeysOnly), packed(kUp, kKeysOnly), packed(kUp, kKeysOnly), number(kUp, kKeysOnly)},
    {text(kDown, kKeysOnly), packed(kDown, kKeysOnly), packed(kDown, kKeysOnly),
     number(kDown, kKeysOnly)},
    {text(kUp, kByRecord), number(kUp, kByRecord), number(kUp, kByRecord), number(kUp, kByRecord)},
    {kEmpty, kEmpty, kEmpty, kEmpty},
    {text(kUp, kKeysOnly), number(kUp, kKeysOnly), number(kUp, kKeysOnly), number(kUp, kKeysOnly)},
    {kEmpty, kEmpty, kEmpty, kEmpty},
};

constexpr StreamOrder kCollated[2][2] = {
    {{KeyKind::collated_text, kUp, kKeysOnly}, {KeyKind::collated_text, kUp, kByRecord}},
    {{KeyKind::collated_text, kDown, kKeysOnly}, {KeyKind::collated_text, kDown, kByRecord}},
};

}  // namespace

std::optional<StreamSpec> parse_stream_spec(std::string_view text) {
  if (text.size() < 3) return std::nullopt;
  StreamSpec spec;
  const char order = to_upper(text[0]);
  if (order != 'A' && order != 'D') return std::nullopt;
  spec.descending = order == 'D';
  spec.type = to_upper(text[1]);
  if (!is_letter(spec.type)) return std::nullopt;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + 2, end, spec.key_length);
  if (error != std::errc() || spec.key_length == 0) return std::nullopt;
  spec.unique = rest != end && to_upper(*rest) == 'U';
  return spec;
}

std::string format_stream_spec(const StreamSpec& spec) {
  std::string text = {spec.descending ? 'D' : 'A', spec.type};
  text += std::to_string(spec.key_length);
  if (spec.unique) text += 'U';
  return text;
}

const StreamOrder* stream_order(IndexFamily family, const StreamSpec& spec, bool collated) {
  const std::size_t row = (family == IndexFamily::ndx ? 4u : 0u) + (spec.unique ? 2u : 0u) +
                          (spec.descending ? 1u : 0u);
  const std::size_t column = kTypes.find(spec.type);
  const Cell& cell = kCells[row][column == std::string_view::npos ? 0 : column];
  if (!cell.filled) return nullptr;
  if (!collated || cell.order.kind != KeyKind::text) return &cell.order;
  return &kCollated[cell.order.descending ? 1 : 0][cell.order.by_record ? 1 : 0];
}

int compare_record_numbers(const Byte* a, const Byte* b) {
  const std::uint32_t x = load_le32(a);
  const std::uint32_t y = load_le32(b);
  return static_cast<int>(x > y) - static_cast<int>(x < y);
}

int compare_entries(const StreamOrder& order, std::size_t key_length, const Byte* a,
                    const Byte* b) {
  if (order.descending) std::swap(a, b);
  const Byte* key = a + kEntryHead;
  const int result = key_order(order.kind, false).compare(key, b + kEntryHead, key_length);
  if (result != 0 || !order.by_record) return result;
  // Equal negative packed keys come in descending record order: their comparison runs backwards,
  // tie-break and all.
  if (order.kind == KeyKind::packed_number && packed_is_negative(key)) std::swap(a, b);
  return compare_record_numbers(a, b);
}

}  // namespace vqdb::index
