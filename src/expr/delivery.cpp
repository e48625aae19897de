#include "expr/delivery.h"

#include <algorithm>
#include <array>

#include "convert/dates.h"
#include "convert/keys.h"
#include "convert/numbers.h"
#include "expr/expression.h"

namespace vqdb::expr {

namespace {

namespace key_kind = convert::key_kind;

constexpr std::int32_t kDefaultMax = 1000;
constexpr std::int32_t kNumberBytes = 8;
// Wider numeric fields have no key of their own; their values have.
constexpr std::int32_t kWidestNumberField = 20;

std::uint32_t number_kind(std::uint32_t options) {
  if ((options & (run_option::kPackedKey | run_option::kTagKey)) != 0) return key_kind::kPacked;
  if ((options & (run_option::kOrderedKey | run_option::kOrderedKey2)) != 0) {
    return key_kind::kOrdered;
  }
  return (options & run_option::kTextKey) != 0 ? key_kind::kText : key_kind::kDouble;
}

// Dates have no packed form: tags keep them as doubles.
std::uint32_t date_kind(std::uint32_t options) {
  const std::uint32_t kind = number_kind(options);
  return kind == key_kind::kPacked ? key_kind::kDouble : kind;
}

class Deliverer {
 public:
  Deliverer(const Run& run, const Delivery& wanted, char* buffer, std::int32_t& length)
      : run_(run),
        options_(wanted.options),
        max_(wanted.max < 1 ? kDefaultMax : wanted.max),
        longest_(wanted.longest),
        buffer_(buffer),
        length_(length) {}

  Result deliver(const Value& value) {
    switch (value.type) {
      case Type::numeric:
      case Type::floating:
        return key_form() ? number_key(value) : number(run_.number(value));
      case Type::date:
        return key_form() ? date_key(value) : date(value);
      case Type::logical:
        return text(run_.truth(value) ? "T" : "F", 1);
      case Type::character:
      case Type::memo:
        return text(run_.text(value), longest_);
      case Type::none:
        break;
    }
    return text("", 0);
  }

 private:
  bool key_form() const { return (options_ & run_option::kKey) != 0; }
  Byte* key() const { return reinterpret_cast<Byte*>(buffer_); }

  Result give(std::int32_t length) {
    length_ = length;
    return Result::ok;
  }

  // A key has its full length, and its terminator only where the buffer has room behind it.
  Result text(std::string_view value, std::int32_t longest) {
    const std::int32_t limit = longest > 0 ? std::min(max_, longest) : max_;
    const auto room = static_cast<std::size_t>(limit);
    char* end = std::ranges::copy(value.substr(0, room), buffer_).out;
    if (key_form() && longest > 0) end = std::fill_n(end, buffer_ + room - end, ' ');
    const auto length = static_cast<std::int32_t>(end - buffer_);
    if (!key_form() || length < max_) *end = '\0';
    return give(length);
  }

  Result number(double value) {
    store_double(buffer_, value);
    return give(kNumberBytes);
  }

  Result date(const Value& value) {
    std::array<char, 16> written;
    convert::write_date_text(run_.block(), whole_day(run_.day(value)), written.data());
    return text({written.data(), convert::date_text_width(run_.block())}, 0);
  }

  Result number_key(const Value& value) {
    const std::uint32_t kind = number_kind(options_);
    const bool own_field = value.form == Form::field && !value.field.negated;
    if (kind == key_kind::kText) {
      return own_field ? text(run_.text(value), value.length) : computed_number_text(value);
    }
    if (own_field && value.length <= kWidestNumberField) {
      const Result result =
          convert::encode_number_field(&run_.block(), kind, run_.text(value), key());
      if (!ok(result)) return result;
    } else {
      convert::encode_number(kind, run_.number(value), key());
    }
    return give(kind == key_kind::kPacked ? convert::kPackedKeyBytes : convert::kDoubleKeyBytes);
  }

  // In the width of the digits that the check found, up to that of the widest field.
  Result computed_number_text(const Value& value) {
    std::array<char, kWidestNumberField> written;
    const int decimals = std::min<int>(value.decimals, kWidestNumberField - 2);
    const int width =
        std::clamp(value.integer_digits + (decimals > 0 ? decimals + 1 : 0), 1, kWidestNumberField);
    convert::format_number(&run_.block(), run_.number(value), width, decimals, written.data());
    return text({written.data(), static_cast<std::size_t>(width)}, width);
  }

  // A field that holds no date has the blank key, as its value has.
  Result date_key(const Value& value) {
    const std::uint32_t kind = date_kind(options_);
    const std::int32_t day = whole_day(run_.day(value));
    const convert::Date date = day == 0 ? convert::kBlankDate : convert::date_of(day);
    const Result result = convert::encode_date(&run_.block(), kind, date, key());
    return ok(result) ? give(kNumberBytes) : result;
  }

  const Run& run_;
  std::uint32_t options_;
  std::int32_t max_;
  std::int32_t longest_;
  char* buffer_;
  std::int32_t& length_;
};

}  // namespace

std::int32_t key_length(const ResultShape& shape, std::uint32_t options) {
  switch (shape.type) {
    case 'N':
    case 'F':
      switch (number_kind(options)) {
        case key_kind::kText:
          return 0;
        case key_kind::kPacked:
          return convert::kPackedKeyBytes;
        default:
          return kNumberBytes;
      }
    case 'D':
      return kNumberBytes;
    default:
      return shape.length;
  }
}

Result deliver(const Run& run, const Value& value, const Delivery& wanted, char* buffer,
               std::int32_t& length) {
  return Deliverer(run, wanted, buffer, length).deliver(value);
}

}  // namespace vqdb::expr
