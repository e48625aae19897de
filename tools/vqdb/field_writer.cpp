#include "field_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "dates.h"
#include "file_names.h"
#include "stop.h"

namespace tool {
namespace {

template <typename... Arguments>
[[noreturn]] void misfit(fmt::format_string<Arguments...> words, Arguments&&... arguments) {
  throw Misfit{fmt::format(words, std::forward<Arguments>(arguments)...)};
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

bool all_digits(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

// Spells an exponent out: 1.5E3 is 1500.
bool without_exponent(std::string_view text, std::string& plain) {
  double value = 0;
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
  if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) return false;
  std::array<char, 400> digits;
  const auto end =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed);
  plain.assign(digits.data(), end.ptr);
  return true;
}

}  // namespace

bool parse_decimal(std::string_view text, Decimal& number) {
  text = trim(text);
  std::string plain;
  if (text.find_first_of("eE") != std::string_view::npos) {
    if (text.find_first_not_of("0123456789.+-eE") != std::string_view::npos) return false;
    if (!without_exponent(text, plain)) return false;
    text = plain;
  }
  number.negative = text.starts_with('-');
  if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  std::string_view whole = text.substr(0, point);
  std::string_view fraction = point == std::string_view::npos ? "" : text.substr(point + 1);
  if (whole.empty() && fraction.empty()) return false;
  if (!all_digits(whole) || !all_digits(fraction)) return false;
  while (whole.starts_with('0')) whole.remove_prefix(1);
  while (fraction.ends_with('0')) fraction.remove_suffix(1);
  number.whole = whole;
  number.fraction = fraction;
  if (whole.empty() && fraction.empty()) number.negative = false;
  return true;
}

void FieldWriter::put(const Field& field, std::string_view text, char* record) {
  char* const to = record + field.offset;
  const bool is_blank = field.type == 'C' ? text.empty() : trim(text).empty();
  if (is_blank) {
    std::memset(to, ' ', field.width);
    return;
  }
  switch (field.type) {
    case 'C':
      return put_text(field, text, to);
    case 'N':
    case 'F':
      return put_number(field, text, to);
    case 'D':
      return put_date(field, text, to);
    case 'L':
      return put_truth(field, text, to);
    case 'M':
      return put_memo(field, text, to);
    default:
      misfit("a field of type {} cannot be written", field.type);
  }
}

std::string FieldWriter::encoded(std::string_view text) const {
  if (is_ascii(text)) return std::string(text);
  std::string bytes;
  if (!encoding_.encode(text, bytes)) {
    misfit("\"{}\" has characters that code page {} lacks", text, encoding_.name());
  }
  return bytes;
}

void FieldWriter::put_text(const Field& field, std::string_view text, char* to) {
  std::string bytes = encoded(text);
  while (!bytes.empty() && bytes.back() == ' ') bytes.pop_back();
  if (bytes.size() > field.width) {
    if (!cut_) misfit("\"{}\" has {} bytes, the field {}", text, bytes.size(), field.width);
    // Whole characters stay, where one takes several bytes as well.
    while (bytes.size() > field.width) {
      do {
        text.remove_suffix(1);
      } while (valid_utf8(text) != text.size());
      bytes = encoded(text);
    }
    ++cuts_;
  }
  std::memset(to, ' ', field.width);
  std::memcpy(to, bytes.data(), bytes.size());
}

void FieldWriter::put_number(const Field& field, std::string_view text, char* to) {
  Decimal number;
  if (!parse_decimal(text, number)) misfit("\"{}\" is no number", text);
  std::string digits;
  if (number.fraction.size() > field.decimals) {
    if (!cut_) {
      misfit("{} has {} decimals, the field {}", trim(text), number.fraction.size(),
             field.decimals);
    }
    const std::string plain =
        fmt::format("{}{}.{}", number.negative ? "-" : "",
                    number.whole.empty() ? "0" : number.whole, number.fraction);
    std::array<char, 64> rounded = {};
    const int32_t width = std::min<int32_t>(60, static_cast<int32_t>(plain.size()) + 2);
    if (dUatonf(nullptr, plain.c_str(), width, static_cast<int32_t>(field.decimals),
                rounded.data()) != VQ_OK) {
      misfit("{} cannot be rounded to {} decimals", trim(text), field.decimals);
    }
    digits = trim({rounded.data(), static_cast<std::size_t>(width)});
    ++cuts_;
  } else {
    digits =
        fmt::format("{}{}", number.negative ? "-" : "", number.whole.empty() ? "0" : number.whole);
    if (field.decimals > 0) {
      digits += fmt::format(".{:0<{}}", number.fraction, field.decimals);
    }
  }
  if (digits.size() == field.width + 1 && digits.find("0.") <= 1) {
    digits.erase(digits.find("0."), 1);  // .5 where there is no room for the zero
  }
  if (digits.size() > field.width) {
    misfit("{} takes {} digits and signs, the field has {}", trim(text), digits.size(),
           field.width);
  }
  std::memset(to, ' ', field.width);
  std::memcpy(to + field.width - digits.size(), digits.data(), digits.size());
}

void FieldWriter::put_date(const Field&, std::string_view text, char* to) {
  const auto date = parse_date(trim(text));
  if (!date) misfit("\"{}\" is no date such as 2024-01-31", text);
  const std::string digits = field_text(*date);
  std::memcpy(to, digits.data(), digits.size());
}

void FieldWriter::put_truth(const Field&, std::string_view text, char* to) {
  constexpr std::array<std::string_view, 5> kTrue = {"true", "t", "yes", "y", "1"};
  constexpr std::array<std::string_view, 5> kFalse = {"false", "f", "no", "n", "0"};
  const std::string word = to_lower(trim(text));
  if (std::ranges::find(kTrue, word) != kTrue.end()) {
    *to = 'T';
  } else if (std::ranges::find(kFalse, word) != kFalse.end()) {
    *to = 'F';
  } else {
    misfit("\"{}\" is neither true nor false", text);
  }
}

void FieldWriter::put_memo(const Field& field, std::string_view text, char* to) {
  if (memo_ == nullptr) misfit("there is no memo file to write to");
  const std::string bytes = encoded(text);
  if (dbase3_memo_ && bytes.find_first_of(std::string_view("\0\x1A", 2)) != std::string::npos) {
    misfit("a text with the bytes 0x00 or 0x1A, which end memos of dBASE III");
  }
  std::array<char, 11> reference = {};
  std::memcpy(reference.data(), to, field.width);
  const bool has_memo = dUcheck_mfld(reference.data()) == 1;
  if (!has_memo) dUinitmf(reference.data());
  const auto length = static_cast<int32_t>(bytes.size());
  int32_t result = VQ_OK;
  int32_t moved = 0;
  if (dbase3_memo_) {
    result = dTputmm3(memo_, bytes.c_str(), reference.data());
  } else if (has_memo) {
    result = dTupdmm(memo_, 0, length, bytes.data(), reference.data(), &moved);
  } else {
    result = dTnewmm(memo_, 0, length, bytes.data(), reference.data());
  }
  require(*block_, result, fmt::format("memo of field {}", field.name));
  std::memcpy(to, reference.data(), field.width);
}

}  // namespace tool
