#include "table/sort_key.h"

#include <algorithm>

#include "convert/collation.h"
#include "convert/dates.h"
#include "convert/keys.h"
#include "convert/numbers.h"

namespace vqdb::table {
namespace {

constexpr Operation kSort{44};

constexpr std::size_t kWeightBytes = 2;

std::string_view trim(std::string_view text) {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return text;
}

// The letters behind the slash of a key.
bool parse_letters(std::string_view letters, bool& descending, bool& ignores_case) {
  if (letters.empty() || letters.size() > 2) return false;
  const char order = to_upper(letters.front());
  if (order != 'A' && order != 'D') return false;
  if (letters.size() == 2 && to_upper(letters.back()) != 'C') return false;
  descending = order == 'D';
  ignores_case = letters.size() == 2;
  return true;
}

void build_text(const char* field, std::size_t length, bool ignores_case, bool collated,
                Byte* key) {
  const auto& weights = convert::collation_weights();
  for (std::size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<Byte>(ignores_case ? to_upper(field[i]) : field[i]);
    if (!collated) {
      key[i] = byte;
      continue;
    }
    key[kWeightBytes * i] = static_cast<Byte>(weights[byte] >> 8);
    key[kWeightBytes * i + 1] = static_cast<Byte>(weights[byte]);
  }
}

}  // namespace

Result SortKey::parse(VqBlock& block, const Table& table, std::string_view keys) {
  for (;;) {
    const std::size_t comma = keys.find(',');
    const Result result = add(block, table, trim(keys.substr(0, comma)));
    if (!ok(result) || comma == std::string_view::npos) return result;
    keys.remove_prefix(comma + 1);
  }
}

Result SortKey::add(VqBlock& block, const Table& table, std::string_view text) {
  const std::size_t slash = text.find('/');
  const std::string_view name = trim(text.substr(0, slash));
  Part part{};
  const bool has_letters = slash != std::string_view::npos;
  if (name.empty() || (has_letters && !parse_letters(trim(text.substr(slash + 1)), part.descending,
                                                     part.ignores_case))) {
    return fail(block, Result::not_allowed, kSort.detail(1));
  }
  part.field = find_field(table, name);
  if (part.field == nullptr) return fail(block, Result::out_of_range, kSort.detail(2));
  switch (part.field->type) {
    case 'C':
      part.collated = block.language == 1;
      part.size = part.field->length * (part.collated ? kWeightBytes : 1);
      break;
    case 'N':
    case 'F':
      part.size = convert::kDoubleKeyBytes;
      break;
    case 'D':
    case 'L':
      part.size = part.field->length;
      break;
    default:
      return fail(block, Result::not_allowed, kSort.detail(2));
  }
  size_ += part.size;
  parts_.push_back(part);
  return Result::ok;
}

void SortKey::build(const Byte* record, Byte* key) const {
  for (const Part& part : parts_) {
    const char* field = reinterpret_cast<const char*>(record) + part.field->offset;
    const std::size_t length = part.field->length;
    switch (part.field->type) {
      case 'N':
      case 'F':
        // Adding 0 makes one of the two zeros.
        convert::encode_number(convert::key_kind::kOrdered,
                               convert::parse_number({field, length}) + 0.0, key);
        break;
      case 'L':
        for (std::size_t i = 0; i < length; ++i) {
          const char letter = to_upper(field[i]);
          key[i] = letter == 'T' || letter == 'Y' ? 1 : 0;
        }
        break;
      default:
        build_text(field, length, part.ignores_case, part.collated, key);
    }
    if (part.descending) {
      std::transform(key, key + part.size, key, [](Byte b) { return static_cast<Byte>(~b); });
    }
    key += part.size;
  }
}

}  // namespace vqdb::table
