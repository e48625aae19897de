// Doubles as the decimal numbers they were written as. 2.675 is no double: the nearest one is a
// little less. Functions that users see round the 2.675, not the double, whenever a decimal of up
// to 15 digits (and most of 16) reads as the value; other values round as the doubles they are.
#ifndef VQDBSYS_CONVERT_DECIMAL_H_
#define VQDBSYS_CONVERT_DECIMAL_H_

#include <cstdint>
#include <optional>

namespace vqdb::convert {

// mantissa / 10^scale.
struct ShortDecimal {
  std::int64_t mantissa = 0;
  int scale = 0;
};

// The shortest decimal that reads as the value, if its digits fit in 53 bits.
std::optional<ShortDecimal> short_decimal(double value);

// Rounded to so many decimals, halves away from zero; negative decimals round integer digits.
double round_to(double value, std::int32_t decimals);

// a - floor(a / b) * b of the decimals, which takes the sign of b; 0 when b is 0.
double modulo(double a, double b);

// Writes the number, right-aligned in width, rounded as round_to does; false when it does not fit.
// REQUIRES 1 <= width <= 254 and 0 <= decimals < width.
bool format_rounded(double value, std::int32_t width, std::int32_t decimals, char* field);

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_DECIMAL_H_
