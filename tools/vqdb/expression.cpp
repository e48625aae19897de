#include "expression.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "stop.h"

namespace tool {
namespace {

// The dialect with the extended syntax: a person who asks is not bound to what the table's own
// program could have said.
constexpr std::uint32_t kExtendedDialect = 8;
constexpr int32_t kLongestText = 1000;
constexpr std::uint32_t kKeyForm = 1;
constexpr std::uint32_t kDoubleKey = 1;
constexpr std::int32_t kBlankDate = 9999;

}  // namespace

Expression::Expression(const std::string& text, const Table* table)
    : text_(text),
      table_(table),
      block_(std::make_unique<VqBlock>()),
      room_(kLongestText + 1, '\0') {
  DBinit(block_.get(), kExtendedDialect);
  const std::string encoded = table != nullptr ? table->encode(text) : text;
  int32_t length = 0;
  const int32_t result =
      dEparse(block_.get(), encoded.c_str(), table != nullptr ? table->handle() : nullptr,
              &program_, &type_, &length);
  if (result != VQ_OK) stop_usage("{}: {}", text, words_of(result, block_->detail));
}

Expression::~Expression() { dEfree(program_); }

void Expression::stop(int32_t result) const {
  stop_failed("{}: {}", text_, words_of(result, block_->detail));
}

bool Expression::is_true(const char* record) {
  int32_t length = 0;
  const int32_t result =
      dErun(block_.get(), program_, record, 0, kLongestText, room_.data(), &length);
  if (result != VQ_OK) stop(result);
  return room_[0] == 'T';
}

Result Expression::run(const char* record) {
  Result value;
  value.type = type_ == 'F' ? 'N' : type_;
  int32_t length = 0;
  const std::uint32_t options = type_ == 'D' ? kKeyForm : 0;
  const int32_t result =
      dErun(block_.get(), program_, record, options, kLongestText, room_.data(), &length);
  if (result != VQ_OK) stop(result);
  if (value.type == 'N') {
    std::memcpy(&value.number, room_.data(), sizeof value.number);
  } else if (value.type == 'L') {
    value.truth = room_[0] == 'T';
  } else if (value.type == 'D') {
    int32_t month = 0;
    int32_t day = 0;
    int32_t year = 0;
    dUdkto3i(kDoubleKey, room_.data(), &month, &day, &year);
    if (month != kBlankDate) value.text = fmt::format("{:04}{:02}{:02}", year, month, day);
  } else {
    const std::string_view bytes(room_.data(), static_cast<std::size_t>(length));
    if (table_ == nullptr || is_ascii(bytes)) {
      value.text = bytes;
    } else {
      table_->encoding().decode(bytes, true, value.text);
    }
  }
  return value;
}

std::string show(const Result& result) {
  switch (result.type) {
    case 'N': {
      // The shortest digits that give the number again, never with an exponent.
      std::array<char, 400> digits;
      const auto end =
          std::to_chars(digits.data(), digits.data() + digits.size(),
                        result.number == 0 ? 0.0 : result.number, std::chars_format::fixed);
      return {digits.data(), end.ptr};
    }
    case 'L':
      return result.truth ? "true" : "false";
    case 'D':
      return result.text.empty() ? ""
                                 : fmt::format("{}-{}-{}", result.text.substr(0, 4),
                                               result.text.substr(4, 2), result.text.substr(6));
    default:
      return result.text;
  }
}

}  // namespace tool
