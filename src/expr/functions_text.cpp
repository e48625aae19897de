// Functions that make texts out of texts: their pieces, their letters in another case, themselves
// at another width.
#include <algorithm>
#include <limits>
#include <optional>

#include "expr/functions.h"
#include "expr/padding.h"

namespace vqdb::expr::text {

namespace {

// The longest text that a function makes up by itself.
constexpr std::int32_t kLongestMade = 254;

std::optional<std::int32_t> literal(const Value& value) {
  if (!value.is_number_literal()) return std::nullopt;
  return value.number_literal.integer;
}

std::int32_t bounded(std::int64_t length) {
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(length, 0, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

// ---- Rules: the most that a text can be long, 0 when only a run knows

// As many characters as the count says, whether or not the text has them. A count that is no
// literal leaves the length open up to the text's own.
Result end_piece_rule(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_text(bounded(literal(arguments[1]).value_or(arguments[0].length)));
  return Result::ok;
}

Result substr_rule(const VqBlock&, Arguments arguments, Value& result) {
  const std::int32_t whole = arguments[0].length;
  const auto start = literal(arguments[1]);
  std::int64_t longest = whole;
  if (whole != 0 && start) longest = std::max<std::int64_t>(std::int64_t{whole} - *start + 1, 1);
  if (arguments.size() > 2 && arguments[2].is_number_literal()) {
    const std::int64_t count = arguments[2].number_literal.integer;
    longest = longest != 0 ? std::min(longest, count) : count;
  }
  result.shape_text(bounded(longest));
  return Result::ok;
}

Result stuff_rule(const VqBlock&, Arguments arguments, Value& result) {
  const std::int32_t whole = arguments[0].length;
  const std::int32_t inserted = arguments[3].length;
  const auto start = literal(arguments[1]);
  const auto count = literal(arguments[2]);
  const bool empty_insert = arguments[3].form == Form::inline_text && inserted == 0;
  if (whole == 0 || (inserted == 0 && !empty_insert)) {
    result.shape_text(0);
    return Result::ok;
  }
  std::int64_t removed = 0;
  if (start && count) {
    const std::int64_t behind = std::int64_t{whole} - std::max(*start, 1) + 1;
    removed = std::clamp<std::int64_t>(behind, 0, std::max(*count, 0));
  }
  result.shape_text(bounded(whole - removed + inserted));
  return Result::ok;
}

Result replicate_rule(const VqBlock&, Arguments arguments, Value& result) {
  const std::int32_t length = arguments[0].length;
  const auto count = literal(arguments[1]);
  const std::int64_t longest =
      count && length != 0 ? std::int64_t{length} * std::max(*count, 0) : kLongestMade;
  result.shape_text(bounded(std::min<std::int64_t>(longest, kLongestMade)));
  return Result::ok;
}

Result space_rule(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_text(bounded(std::min(literal(arguments[0]).value_or(kLongestMade), kLongestMade)));
  return Result::ok;
}

Result pad_rule(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_text(bounded(std::min(literal(arguments[1]).value_or(kLongestMade), kLongestMade)));
  return Result::ok;
}

// ---- Handlers

namespace {

// A count or width as a size; nothing below 0.
std::size_t size_argument(const Run& run, const Value& value) {
  return static_cast<std::size_t>(std::max(run.integer(value), 0));
}

std::string_view without_leading_blanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string_view without_trailing_blanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

template <char (*change)(char)>
Result change_letters(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  char* place = run.make_text(result, text.size());
  if (place == nullptr) return Result::no_memory;
  std::ranges::transform(text, place, change);
  return Result::ok;
}

template Result change_letters<to_lower>(Run&, Arguments, Value&);
template Result change_letters<to_upper>(Run&, Arguments, Value&);

Result proper(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  char* place = run.make_text(result, text.size());
  if (place == nullptr) return Result::no_memory;
  bool word_starts = true;
  for (const char c : text) {
    *place++ = word_starts ? to_upper(c) : to_lower(c);
    word_starts = c == ' ' || c == '\t';
  }
  return Result::ok;
}

Result left(Run& run, Arguments arguments, Value& result) {
  result.set_text(run.text(arguments[0]).substr(0, size_argument(run, arguments[1])));
  return Result::ok;
}

Result right(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  const std::size_t count = std::min(size_argument(run, arguments[1]), text.size());
  result.set_text(text.substr(text.size() - count));
  return Result::ok;
}

Result substr(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  const std::size_t start = size_argument(run, arguments[1]);
  const std::size_t count =
      arguments.size() > 2 ? size_argument(run, arguments[2]) : std::string_view::npos;
  const bool inside = start >= 1 && start <= text.size();
  result.set_text(inside ? text.substr(start - 1, count) : std::string_view("", 0));
  return Result::ok;
}

Result stuff(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  const std::size_t start =
      std::min(std::max<std::size_t>(size_argument(run, arguments[1]), 1) - 1, text.size());
  const std::size_t removed = std::min(size_argument(run, arguments[2]), text.size() - start);
  const std::string_view inserted = run.text(arguments[3]);
  char* place = run.make_text(result, text.size() - removed + inserted.size());
  if (place == nullptr) return Result::no_memory;
  place = std::ranges::copy(text.substr(0, start), place).out;
  place = std::ranges::copy(inserted, place).out;
  std::ranges::copy(text.substr(start + removed), place);
  return Result::ok;
}

Result ltrim(Run& run, Arguments arguments, Value& result) {
  result.set_text(without_leading_blanks(run.text(arguments[0])));
  return Result::ok;
}

Result rtrim(Run& run, Arguments arguments, Value& result) {
  result.set_text(without_trailing_blanks(run.text(arguments[0])));
  return Result::ok;
}

Result alltrim(Run& run, Arguments arguments, Value& result) {
  result.set_text(without_leading_blanks(without_trailing_blanks(run.text(arguments[0]))));
  return Result::ok;
}

namespace {

// Makes a text of copies of another, cut at the longest.
Result repeat(Run& run, std::string_view text, std::size_t times, Value& result) {
  constexpr std::size_t kLongest = kLongestMade;
  const std::size_t length = text.empty() || times == 0       ? 0
                             : times > kLongest / text.size() ? kLongest
                                                              : text.size() * times;
  char* place = run.make_text(result, length);
  if (place == nullptr) return Result::no_memory;
  for (std::size_t i = 0; i < length; ++i) place[i] = text[i % text.size()];
  return Result::ok;
}

}  // namespace

Result replicate(Run& run, Arguments arguments, Value& result) {
  return repeat(run, run.text(arguments[0]), size_argument(run, arguments[1]), result);
}

Result space(Run& run, Arguments arguments, Value& result) {
  return repeat(run, " ", size_argument(run, arguments[0]), result);
}

Result chrtran(Run& run, Arguments arguments, Value& result) {
  const std::string_view text = run.text(arguments[0]);
  const std::string_view from = run.text(arguments[1]);
  const std::string_view to = run.text(arguments[2]);
  char* const place = run.make_text(result, text.size());
  if (place == nullptr) return Result::no_memory;
  char* end = place;
  for (const char c : text) {
    const std::size_t found = from.find(c);
    if (found == std::string_view::npos) {
      *end++ = c;
    } else if (found < to.size()) {
      *end++ = to[found];
    }
  }
  result.length = static_cast<std::int32_t>(end - place);
  return Result::ok;
}

template <Side side>
Result pad_to(Run& run, Arguments arguments, Value& result) {
  const std::size_t width = std::min<std::size_t>(size_argument(run, arguments[1]), kLongestMade);
  char* place = run.make_text(result, width);
  if (place == nullptr) return Result::no_memory;
  const std::string_view fill = arguments.size() > 2 ? run.text(arguments[2]) : std::string_view();
  pad(run.text(arguments[0]), width, fill, side, place);
  return Result::ok;
}

template Result pad_to<Side::left>(Run&, Arguments, Value&);
template Result pad_to<Side::right>(Run&, Arguments, Value&);
template Result pad_to<Side::both>(Run&, Arguments, Value&);

}  // namespace vqdb::expr::text
