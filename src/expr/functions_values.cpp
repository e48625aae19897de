// Functions that tell something about a value, choose among values, or turn numbers into texts and
// texts into numbers.
#include <algorithm>

#include "convert/decimal.h"
#include "convert/numbers.h"
#include "expr/functions.h"
#include "expr/soundex.h"

namespace vqdb::expr::values {

// ---- Rules

// The digits of the text may all stand before its point, or all behind it.
Result val_rule(const VqBlock&, Arguments arguments, Value& result) {
  const unsigned digits = static_cast<unsigned>(std::clamp(arguments[0].length, 0, 20));
  result.shape_number(digits, digits);
  return Result::ok;
}

namespace {

constexpr std::int32_t kDefaultWidth = 10;
constexpr std::int32_t kLongestWidth = 254;

}  // namespace

// Width and decimals are part of the type, so they have to be known before any record is.
Result str_rule(const VqBlock&, Arguments arguments, Value& result) {
  std::int32_t width = kDefaultWidth;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (!arguments[i].is_number_literal()) return Result::argument_type;
  }
  if (arguments.size() > 1) width = arguments[1].number_literal.integer;
  result.shape_text(std::clamp(width, 0, kLongestWidth));
  return Result::ok;
}

// Both of one type, numeric and float counting as one.
Result iif_rule(const VqBlock&, Arguments arguments, Value& result) {
  const Value& yes = arguments[1];
  const Value& no = arguments[2];
  const bool numbers = yes.is(kNumber) && no.is(kNumber);
  if (yes.type != no.type && !numbers) return Result::argument_type;
  result.shape(yes.type, std::max(yes.length, no.length),
               std::max(yes.integer_digits, no.integer_digits),
               std::max(yes.decimals, no.decimals));
  if (yes.is(kCharacter)) {
    const auto open = [](const Value& text) {
      return text.length == 0 && text.form != Form::inline_text;
    };
    if (open(yes) || open(no)) result.length = 0;
  } else if (!yes.is(kLogical)) {
    result.length = 8;
  }
  return Result::ok;
}

// ---- Handlers

// As a signed byte: characters above 127 have negative codes.
Result asc(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  result.set_number(text.empty() ? 0 : static_cast<signed char>(text.front()));
  return Result::ok;
}

Result at(Run& run, Arguments arguments, Value& result) {
  const std::string_view wanted = run.text(arguments[0]);
  const std::size_t found =
      wanted.empty() ? std::string_view::npos : run.text(arguments[1]).find(wanted);
  result.set_number(found == std::string_view::npos ? 0 : static_cast<double>(found + 1));
  return Result::ok;
}

Result chr(Run& run, Arguments arguments, Value& result) {
  const auto code = static_cast<char>(run.integer(arguments[0]) & 0xFF);
  return run.copy_text(result, {&code, 1});
}

Result difference_of(Run& run, Arguments arguments, Value& result) {
  result.set_number(difference(soundex(run.text(arguments[0])), soundex(run.text(arguments[1]))));
  return Result::ok;
}

Result soundex_of(Run& run, Arguments arguments, Value& result) {
  const Soundex code = soundex(run.text(arguments[0]));
  return run.copy_text(result, {code.data(), code.size()});
}

namespace {

bool is_blank(std::string_view text) { return std::ranges::all_of(text, is_space); }

}  // namespace

Result empty(Run& run, Arguments arguments, Value& result) {
  const Value& value = arguments[0];
  switch (value.type) {
    case Type::numeric:
    case Type::floating:
      result.set_truth(run.number(value) == 0);
      break;
    case Type::date:
      result.set_truth(whole_day(run.day(value)) == 0);
      break;
    case Type::logical:
      result.set_truth(!run.truth(value));
      break;
    case Type::memo:  // a reference to no block
      result.set_truth(run.text(value).find_first_not_of(" 0") == std::string_view::npos);
      break;
    default:
      result.set_truth(is_blank(run.text(value)));
  }
  return Result::ok;
}

Result iif(Run& run, Arguments arguments, Value& result) {
  const Value& chosen = arguments[run.truth(arguments[0]) ? 1 : 2];
  switch (result.type) {
    case Type::character:
      result.set_text(run.text(chosen));
      break;
    case Type::date:
      result.set_number(run.day(chosen));
      break;
    case Type::logical:
      result.set_truth(run.truth(chosen));
      break;
    default:
      result.set_number(run.number(chosen));
  }
  return Result::ok;
}

bool is_lower(char c) { return is_letter(c) && c == to_lower(c); }
bool is_upper(char c) { return is_letter(c) && c == to_upper(c); }

template <bool (*test)(char)>
Result first_is(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  result.set_truth(!text.empty() && test(text.front()));
  return Result::ok;
}

template Result first_is<is_letter>(Run&, Arguments, Value&);
template Result first_is<is_lower>(Run&, Arguments, Value&);
template Result first_is<is_upper>(Run&, Arguments, Value&);

Result len(Run& run, Arguments arguments, Value& result) {
  result.set_number(static_cast<double>(run.text(arguments[0]).size()));
  return Result::ok;
}

// Gives decimals up for integer digits, one by one, before it gives up with stars.
Result str(Run& run, Arguments arguments, Value& result) {
  const double number = run.number(arguments[0]);
  const std::int32_t wanted = arguments.size() > 1 ? run.integer(arguments[1]) : kDefaultWidth;
  const std::int32_t width = std::clamp(wanted, 0, kLongestWidth);
  char* place = run.make_text(result, static_cast<std::size_t>(width));
  if (place == nullptr) return Result::no_memory;
  const std::int32_t decimals = arguments.size() > 2 ? run.integer(arguments[2]) : 0;
  for (std::int32_t kept = std::clamp(decimals, 0, std::max(width - 1, 0)); kept >= 0; --kept) {
    if (width > 0 && convert::format_rounded(number, width, kept, place)) return Result::ok;
  }
  std::fill_n(place, width, '*');
  return Result::ok;
}

Result val(Run& run, Arguments arguments, Value& result) {
  result.set_number(convert::parse_number(run.text(arguments[0])));
  return Result::ok;
}

}  // namespace vqdb::expr::values
