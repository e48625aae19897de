#include <algorithm>
#include <cstring>

#include "convert/calendar.h"
#include "convert/dates.h"
#include "convert/keys.h"
#include "convert/numbers.h"
#include "exports/guard.h"
#include "memo/reference.h"
#include "vqdbsys.h"

namespace {

using vqdb::Byte;
using vqdb::fail;
using vqdb::Operation;
using vqdb::Result;
using vqdb::convert::Date;
using vqdb::convert::kBlankDate;
using vqdb::exports::guarded;
namespace convert = vqdb::convert;

constexpr Operation kDateToField{400};
constexpr Operation kDateToKey{402};
constexpr Operation kTextToField{404};
constexpr Operation kDoubleToField{406};
constexpr Operation kDateToDay{407};
constexpr Operation kFieldToKey{408};

constexpr std::int32_t kMaxTextWidth = 254;
constexpr std::int32_t kMaxNumberText = 40;

Result hand_out(const Date& date, std::int32_t* month, std::int32_t* day, std::int32_t* year) {
  if (month == nullptr || day == nullptr || year == nullptr) return Result::out_of_range;
  *month = date.month;
  *day = date.day;
  *year = date.year;
  return Result::ok;
}

// A numeric field needs a digit before its point and the point itself.
bool is_numeric_shape(std::int32_t width, std::int32_t decimals) {
  return width >= 1 && width <= kMaxTextWidth && decimals >= 0 &&
         (decimals == 0 || decimals < width - 1);
}

std::string_view borrowed(const char* text, std::int32_t width) {
  return {text, static_cast<std::size_t>(std::max(width, 0))};
}

}  // namespace

int32_t VQ_CALL dU3itodf(VqBlock* block, int32_t month, int32_t day, int32_t year, char* field) {
  const Date date{month, day, year};
  const bool writable =
      date == kBlankDate || (convert::is_valid(date) && year <= convert::kLastWrittenYear);
  if (field == nullptr || !writable) {
    return code(fail(block, Result::out_of_range, kDateToField.detail(1)));
  }
  convert::write_date_field(date, field);
  return VQ_OK;
}

int32_t VQ_CALL dUdfto3i(const char* field, int32_t* month, int32_t* day, int32_t* year) {
  if (field == nullptr) return VQ_E_RANGE;
  return code(hand_out(convert::read_date_field(field), month, day, year));
}

int32_t VQ_CALL dU3itodk(VqBlock* block, uint32_t kind, int32_t month, int32_t day, int32_t year,
                         void* key) {
  if (key == nullptr) return code(fail(block, Result::out_of_range, kDateToKey.detail(1)));
  return code(convert::encode_date(block, kind, {month, day, year}, static_cast<Byte*>(key)));
}

int32_t VQ_CALL dUdftodk(VqBlock* block, uint32_t kind, const char* field, void* key) {
  if (field == nullptr || key == nullptr) {
    return code(fail(block, Result::out_of_range, kDateToKey.detail(1)));
  }
  return code(convert::encode_date_field(block, kind, field, static_cast<Byte*>(key)));
}

int32_t VQ_CALL dUdkto3i(uint32_t kind, const void* key, int32_t* month, int32_t* day,
                         int32_t* year) {
  if (key == nullptr) return VQ_E_RANGE;
  return code(
      hand_out(convert::decode_date(kind, static_cast<const Byte*>(key)), month, day, year));
}

int32_t VQ_CALL dU3itoJ(VqBlock* block, int32_t month, int32_t day, int32_t year) {
  const Date date{month, day, year};
  if (!convert::is_valid(date)) {
    return code(fail(block, Result::out_of_range, kDateToDay.detail(1)));
  }
  return convert::day_number(date);
}

int32_t VQ_CALL dUJto3i(int32_t day_number, int32_t* month, int32_t* day, int32_t* year) {
  return code(hand_out(convert::date_of(day_number), month, day, year));
}

int32_t VQ_CALL dUatoJ(VqBlock* block, const char* text) {
  if (block == nullptr) return VQ_E_RANGE;
  const auto day = text != nullptr ? convert::parse_date_text(*block, text) : std::nullopt;
  if (!day) return code(fail(block, Result::out_of_range, kDateToDay.detail(1)));
  return *day;
}

int32_t VQ_CALL dUdtonk(uint32_t kind, double value, void* key) {
  if (key == nullptr) return VQ_E_RANGE;
  convert::encode_number(kind, value, static_cast<Byte*>(key));
  return VQ_OK;
}

int32_t VQ_CALL dUnftonk(VqBlock* block, uint32_t kind, const char* field, int32_t width,
                         void* key) {
  if (field == nullptr || key == nullptr || width < 0) {
    return code(fail(block, Result::out_of_range, kFieldToKey.detail(1)));
  }
  return code(
      convert::encode_number_field(block, kind, borrowed(field, width), static_cast<Byte*>(key)));
}

int32_t VQ_CALL dUnktod(uint32_t kind, const void* key, double* value) {
  // A text key does not tell its width.
  if (key == nullptr || value == nullptr || (kind & convert::key_kind::kText) != 0) {
    return VQ_E_RANGE;
  }
  *value = convert::decode_number(kind, static_cast<const Byte*>(key));
  return VQ_OK;
}

int32_t VQ_CALL dUnktoa(uint32_t kind, const void* key, int32_t width, int32_t decimals,
                        char* text) {
  if (key == nullptr || text == nullptr || !is_numeric_shape(width, decimals)) return VQ_E_RANGE;
  convert::write_key_text(kind, static_cast<const Byte*>(key), width, decimals, text);
  text[width] = '\0';
  return VQ_OK;
}

int32_t VQ_CALL dUnftod(const char* field, int32_t width, double* value) {
  if (field == nullptr || value == nullptr || width < 0 || width >= kMaxNumberText) {
    return VQ_E_RANGE;
  }
  *value = convert::parse_number(borrowed(field, width));
  return VQ_OK;
}

int32_t VQ_CALL dUatonf(VqBlock* block, const char* text, int32_t width, int32_t decimals,
                        char* field) {
  if (text == nullptr || field == nullptr || !is_numeric_shape(width, decimals)) {
    return code(fail(block, Result::out_of_range, kTextToField.detail(1)));
  }
  convert::format_number(block, convert::parse_number(text), width, decimals, field);
  return VQ_OK;
}

int32_t VQ_CALL dUdtonf(VqBlock* block, double value, int32_t width, int32_t decimals,
                        char* field) {
  if (field == nullptr || !is_numeric_shape(width, decimals)) {
    return code(fail(block, Result::out_of_range, kDoubleToField.detail(1)));
  }
  convert::format_number(block, value, width, decimals, field);
  return VQ_OK;
}

int32_t VQ_CALL dUfldtoa(const char* field, int32_t width, char* text) {
  if (field == nullptr || text == nullptr || width < 0) return VQ_E_RANGE;
  *std::copy_n(field, width, text) = '\0';
  return VQ_OK;
}

int32_t VQ_CALL dUatocf(const char* text, int32_t width, char* field) {
  if (text == nullptr || field == nullptr || width < 0) return VQ_E_RANGE;
  const std::string_view kept = std::string_view(text).substr(0, static_cast<std::size_t>(width));
  char* const end = std::copy(kept.begin(), kept.end(), field);
  std::fill(end, field + width, ' ');
  return VQ_OK;
}

int32_t VQ_CALL dUcheck_mfld(const char* field) {
  return field != nullptr ? vqdb::memo::memo_field_state(field) : VQ_E_RANGE;
}

int32_t VQ_CALL dUinitmf(char* field) {
  if (field == nullptr) return VQ_E_RANGE;
  std::fill_n(field, vqdb::memo::kReferenceWidth, ' ');
  return VQ_OK;
}

int32_t VQ_CALL dUtoday(int32_t* month, int32_t* day, int32_t* year) {
  return guarded([&] { return hand_out(convert::today(), month, day, year); });
}

int32_t VQ_CALL dUleap(int32_t year) { return convert::is_leap(year) ? 1 : 0; }
