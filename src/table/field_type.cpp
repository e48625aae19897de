#include "table/field_type.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "frame/bytes.h"

namespace vqdb::table {
namespace {

constexpr Operation kCreate{15};

constexpr unsigned kMaxCharacterLength = 254;
constexpr unsigned kMaxNumericLength = 20;
constexpr unsigned kTooLong = 1000;  // stands for every number that no field can have

struct TypeRule {
  char letter;
  std::uint8_t fixed_length;  // 0: the text gives it
  std::uint32_t needs;        // dialect bit, 0 for every dialect
};

constexpr std::array<TypeRule, 9> kTypeRules = {{
    {'C', 0, 0},
    {'D', 8, 0},
    {'N', 0, 0},
    {'F', 0, 0},
    {'L', 1, 0},
    {'M', 10, 0},
    {'B', 10, dialect::kWide},
    {'G', 10, dialect::kWide},
    {'P', 10, dialect::kFoxpro},
}};

const TypeRule* find_rule(char letter) {
  const auto* const rule =
      std::find_if(kTypeRules.begin(), kTypeRules.end(),
                   [&](const TypeRule& each) { return each.letter == letter; });
  return rule == kTypeRules.end() ? nullptr : rule;
}

// The number at the start of the text, behind blanks; 0 when there is none. Takes it off the text.
unsigned take_number(std::string_view& text) {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc() ? std::min(number, kTooLong)
                              : (error == std::errc::result_out_of_range ? kTooLong : 0);
}

}  // namespace

Result parse_field_type(VqBlock& block, std::string_view text, Field& field) {
  const char letter = text.empty() ? '\0' : to_upper(text.front());
  const TypeRule* const rule = find_rule(letter);
  if (rule == nullptr || (rule->needs != 0 && (block.kind & rule->needs) == 0)) {
    return fail(block, Result::not_allowed, kCreate.detail(11));
  }
  field.type = letter;
  field.decimals = 0;
  field.length = rule->fixed_length;
  if (rule->fixed_length != 0) return Result::ok;

  text.remove_prefix(1);
  const unsigned length = take_number(text);
  if (letter == 'C') {
    if (length == 0 || length > kMaxCharacterLength) {
      return fail(block, Result::out_of_range, kCreate.detail(9));
    }
    field.length = static_cast<std::uint8_t>(length);
    return Result::ok;
  }
  unsigned decimals = 0;
  if (!text.empty() && text.front() == '.') {
    text.remove_prefix(1);
    decimals = take_number(text);
  }
  // A number with decimals needs room for one digit and the point.
  if (length == 0 || length > kMaxNumericLength || (decimals > 0 && decimals + 2 > length)) {
    return fail(block, Result::out_of_range, kCreate.detail(10));
  }
  field.length = static_cast<std::uint8_t>(length);
  field.decimals = static_cast<std::uint8_t>(decimals);
  return Result::ok;
}

bool is_field_type(char type) { return find_rule(type) != nullptr; }

bool is_field_shape(const Field& field) {
  const std::uint8_t fixed = find_rule(field.type)->fixed_length;
  if (fixed != 0) return field.length == fixed;
  return field.length != 0 && (field.type == 'C' || field.decimals < field.length);
}

}  // namespace vqdb::table
