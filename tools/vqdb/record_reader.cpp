#include "record_reader.h"

#include <algorithm>
#include <array>

#include "base64.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::string_view kUnreadableValues = "values that cannot be read";

bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string_view trim_right(std::string_view text) {
  // Some programs fill texts with zero bytes.
  while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
  return text;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

std::size_t digits_at(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && is_digit(text[end])) ++end;
  return end - at;
}

// [sign] digits [. digits] [E [sign] digits]
bool is_number(std::string_view text) {
  std::size_t at = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
  std::size_t digits = digits_at(text, at);
  at += digits;
  if (at < text.size() && text[at] == '.') {
    const std::size_t decimals = digits_at(text, at + 1);
    digits += decimals;
    at += 1 + decimals;
  }
  if (digits == 0) return false;
  if (at < text.size() && (text[at] == 'E' || text[at] == 'e')) {
    ++at;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    const std::size_t exponent = digits_at(text, at);
    if (exponent == 0) return false;
    at += exponent;
  }
  return at == text.size();
}

bool is_date(std::string_view text) {
  if (text.size() != 8 || !std::ranges::all_of(text, is_digit)) return false;
  const auto number = [&](std::size_t at, std::size_t length) {
    int value = 0;
    for (const char c : text.substr(at, length)) value = value * 10 + (c - '0');
    return value;
  };
  return dU3itoJ(nullptr, number(4, 2), number(6, 2), number(0, 4)) > 0;
}

std::string show_bytes(std::string_view bytes) {
  std::string shown = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      shown += c;
    } else {
      shown += fmt::format("\\x{:02X}", byte);
    }
  }
  return shown + "\"";
}

}  // namespace

RecordReader::RecordReader(const Table& table, const TextOptions& texts, Warnings& warnings)
    : table_(table), replace_(texts.replace), warnings_(warnings), scratch_(table.fields().size()) {
  if (std::ranges::any_of(table.fields(), is_memo_type, &Field::type)) {
    memos_.emplace(table);
    if (!memos_->is_open()) print_warning(fmt::format("{}: {}", table.path(), memos_->why()));
  }
}

void RecordReader::read(const char* record, std::uint32_t recno,
                        const std::vector<std::size_t>& fields, std::vector<Value>& values) {
  values.resize(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Field& field = table_.fields()[fields[i]];
    values[i] = value_of({field, fields[i], recno, {record + field.offset, field.width}});
  }
}

Value RecordReader::value_of(const Cell& cell) {
  switch (cell.field.type) {
    case 'C':
      return text_of(cell, trim_right(cell.bytes));
    case 'N':
    case 'F':
      return number_of(cell);
    case 'D':
      return date_of(cell);
    case 'L':
      return truth_of(cell);
    case 'M':
    case 'B':
    case 'G':
    case 'P':
      return memo_of(cell);
    default:
      return unreadable(cell, fmt::format("a field of type {}", show_bytes({&cell.field.type, 1})));
  }
}

std::string RecordReader::place(const Cell& cell) const {
  return fmt::format("{}: record {}, field {}", table_.path(), cell.recno, cell.field.name);
}

Value RecordReader::text_of(const Cell& cell, std::string_view bytes) {
  if (bytes.empty()) return {};
  if (bytes.find('\0') != std::string_view::npos) {
    warnings_.add("texts with zero bytes", fmt::format("{}: a zero byte within the text: {}",
                                                       place(cell), show_bytes(bytes)));
  }
  if (is_ascii(bytes)) return {Value::Kind::text, false, bytes};
  const Encoding& encoding = table_.encoding();
  if (!assumption_told_ && encoding.source() == kAssumedSource) {
    assumption_told_ = true;
    print_note(
        fmt::format("{} names no code page; its texts are read as {}{} (--encoding takes another)",
                    table_.path(), encoding.name(),
                    valid_utf8(bytes) == bytes.size() ? ", though they look like UTF-8" : ""));
  }
  std::string& text = scratch_[cell.number];
  text.clear();
  const std::size_t done = encoding.decode(bytes, replace_, text);
  if (done < bytes.size()) {
    stop_failed(
        "{}: byte 0x{:02X} at position {} is no character of code page {} (--encoding takes "
        "another, --replace goes on with U+FFFD)",
        place(cell), static_cast<unsigned char>(bytes[done]), done + 1, encoding.name());
  }
  return {Value::Kind::text, false, text};
}

Value RecordReader::unreadable(const Cell& cell, std::string_view what) {
  warnings_.add(std::string(kUnreadableValues),
                fmt::format("{}: not {}: {}", place(cell), what, show_bytes(cell.bytes)));
  Value value = text_of(cell, trim_right(cell.bytes));
  value.kind = Value::Kind::unreadable;
  return value;
}

// Zero bytes in a value that is no text count as blanks, and are told.
std::string_view RecordReader::without_nuls(const Cell& cell) {
  if (cell.bytes.find('\0') == std::string_view::npos) return cell.bytes;
  warnings_.add("values with zero bytes", fmt::format("{}: zero bytes read as blanks: {}",
                                                      place(cell), show_bytes(cell.bytes)));
  std::string& text = scratch_[cell.number];
  text = cell.bytes;
  std::ranges::replace(text, '\0', ' ');
  return text;
}

Value RecordReader::number_of(const Cell& cell) {
  const std::string_view text = trim(without_nuls(cell));
  if (text.empty()) return {};
  if (!is_number(text)) return unreadable(cell, "a number");
  return {Value::Kind::number, false, text};
}

Value RecordReader::date_of(const Cell& cell) {
  const std::string_view text = trim(without_nuls(cell));
  if (text.empty()) return {};
  if (!is_date(text)) return unreadable(cell, "a date");
  return {Value::Kind::date, false, text};
}

Value RecordReader::truth_of(const Cell& cell) {
  constexpr std::string_view kTrue = "TtYy";
  constexpr std::string_view kFalse = "FfNn";
  const std::string_view text = trim(without_nuls(cell));
  if (text.empty() || text == "?") return {};
  if (text.size() == 1 && kTrue.find(text[0]) != std::string_view::npos) {
    return {Value::Kind::truth, true, {}};
  }
  if (text.size() == 1 && kFalse.find(text[0]) != std::string_view::npos) {
    return {Value::Kind::truth, false, {}};
  }
  return unreadable(cell, "a logical value");
}

Value RecordReader::memo_of(const Cell& cell) {
  const std::string_view text = without_nuls(cell);
  std::array<char, 11> reference = {};
  const bool is_whole = text.size() == reference.size() - 1;
  if (is_whole) std::ranges::copy(text, reference.begin());
  const int32_t kind = is_whole ? dUcheck_mfld(reference.data()) : -1;
  if (kind == 0) return {};
  if (kind < 0) return unreadable(cell, "a memo reference");
  if (!memos_->is_open()) {
    return unreadable(cell, "a memo that can be read without its file");
  }
  if (!memos_->read(reference.data(), memo_bytes_)) {
    return unreadable(cell, fmt::format("a memo that can be read ({})", memos_->why()));
  }
  if (memo_bytes_.empty()) return {};
  if (cell.field.type != 'M') {  // pictures, sounds and the like
    scratch_[cell.number] = base64(memo_bytes_);
    return {Value::Kind::text, false, scratch_[cell.number]};
  }
  Value value = text_of(cell, memo_bytes_);
  if (value.text.data() == memo_bytes_.data()) {
    scratch_[cell.number] = memo_bytes_;
    value.text = scratch_[cell.number];
  }
  return value;
}

}  // namespace tool
