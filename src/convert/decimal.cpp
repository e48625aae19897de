#include "convert/decimal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "convert/numbers.h"
#include "convert/powers_of_ten.h"

namespace vqdb::convert {
namespace {

constexpr double kExactMantissas = kExactIntegers;
constexpr int kMaxIntegerPower = 18;

// mantissa / 10^digits, halves away from zero.
std::int64_t drop_digits(std::int64_t mantissa, int digits) {
  if (digits > kMaxIntegerPower) return 0;
  const auto divisor = static_cast<std::int64_t>(power_of_ten(digits));
  const std::int64_t rest = mantissa % divisor;
  const std::int64_t half = divisor / 2;
  const int carry = rest >= half ? 1 : rest <= -half ? -1 : 0;
  return mantissa / divisor + (digits > 0 ? carry : 0);
}

// Moves the mantissas of both to the larger scale; false when they grow beyond 53 bits.
bool align(ShortDecimal& a, ShortDecimal& b) {
  ShortDecimal& shorter = a.scale < b.scale ? a : b;
  const int scale = std::max(a.scale, b.scale);
  const double scaled = static_cast<double>(shorter.mantissa) * power_of_ten(scale - shorter.scale);
  if (std::fabs(scaled) >= kExactMantissas) return false;
  shorter = {static_cast<std::int64_t>(scaled), scale};
  return true;
}

// The fixed-point text of a decimal that has no digit behind the given decimals.
bool format_decimal(const ShortDecimal& number, std::int32_t width, std::int32_t decimals,
                    char* field) {
  constexpr std::int32_t kMaxWidth = 254;
  std::array<char, kMaxWidth + 24> text;
  char* const first = text.data() + 1;  // behind the sign
  const auto magnitude = static_cast<std::uint64_t>(std::abs(number.mantissa));
  char* end = std::to_chars(first, text.data() + text.size(), magnitude).ptr;
  if (magnitude != 0) end = std::fill_n(end, decimals - number.scale, '0');
  // A digit before the point at least.
  const std::ptrdiff_t missing = decimals + 1 - (end - first);
  if (missing > 0) {
    std::copy_backward(first, end, end + missing);
    std::fill_n(first, missing, '0');
    end += missing;
  }
  if (decimals > 0) {
    std::copy_backward(end - decimals, end, end + 1);
    end[-decimals] = '.';
    ++end;
  }
  text[0] = '-';
  const char* const begin = number.mantissa < 0 ? text.data() : first;
  return right_align({begin, static_cast<std::size_t>(end - begin)}, width, field);
}

}  // namespace

std::optional<ShortDecimal> short_decimal(double value) {
  for (int scale = 0; scale <= kMaxExactPower; ++scale) {
    const double scaled = value * power_of_ten(scale);
    if (!(std::fabs(scaled) < kExactMantissas)) return std::nullopt;
    const auto mantissa = static_cast<std::int64_t>(std::nearbyint(scaled));
    // Both are exact, so their quotient is the double that the decimal reads as.
    if (static_cast<double>(mantissa) / power_of_ten(scale) == value) {
      return ShortDecimal{mantissa, scale};
    }
  }
  return std::nullopt;
}

double round_to(double value, std::int32_t decimals) {
  constexpr std::int32_t kNoDigitLeft = -310;
  constexpr std::int32_t kNoDigitRight = 330;
  if (!std::isfinite(value) || decimals > kNoDigitRight) return value;
  if (decimals < kNoDigitLeft) return 0;
  const auto number = short_decimal(value);
  if (number && number->scale <= decimals) return value;
  if (decimals < 0) {
    const double unit = std::pow(10.0, -decimals);
    if (!number) return std::round(value / unit) * unit;
    return static_cast<double>(drop_digits(number->mantissa, number->scale - decimals)) * unit;
  }
  if (number) {
    return static_cast<double>(drop_digits(number->mantissa, number->scale - decimals)) /
           power_of_ten(decimals);
  }
  std::array<char, 700> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::fixed, decimals)
                       .ptr;
  return parse_number({text.data(), static_cast<std::size_t>(end - text.data())});
}

double modulo(double a, double b) {
  if (b == 0) return 0;
  auto dividend = short_decimal(a);
  auto divisor = short_decimal(b);
  if (!dividend || !divisor || !align(*dividend, *divisor)) return a - std::floor(a / b) * b;
  std::int64_t rest = dividend->mantissa % divisor->mantissa;
  if (rest != 0 && (rest < 0) != (divisor->mantissa < 0)) rest += divisor->mantissa;
  return static_cast<double>(rest) / power_of_ten(divisor->scale);
}

bool format_rounded(double value, std::int32_t width, std::int32_t decimals, char* field) {
  const auto number = short_decimal(value);
  if (!number) return format_fixed(value, width, decimals, field);
  if (number->scale <= decimals) return format_decimal(*number, width, decimals, field);
  return format_decimal({drop_digits(number->mantissa, number->scale - decimals), decimals}, width,
                        decimals, field);
}

}  // namespace vqdb::convert
