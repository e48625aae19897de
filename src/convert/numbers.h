// Numbers as numeric fields hold them: decimal text in a fixed width.
#ifndef VQDBSYS_CONVERT_NUMBERS_H_
#define VQDBSYS_CONVERT_NUMBERS_H_

#include <cstdint>
#include <string_view>

#include "vqdbsys.h"

namespace vqdb::convert {

// Reads as much of the text as makes a decimal number (leading white space skipped, sign, digits,
// point, digits, exponent), correctly rounded; 0 when there is none. Independent of the locale.
double parse_number(std::string_view text);

// Fixed-point text, right-aligned in width with the given decimals, rounded correctly; when it does
// not fit, exponent form; when that does not fit either, the field is filled with `*`.
// With dialect kind 16 leading blanks become zeros. REQUIRES 1 <= width <= 254.
void format_number(const VqBlock* block, double value, std::int32_t width, std::int32_t decimals,
                   char* field);

// The fixed-point form alone: false when it does not fit.
bool format_fixed(double value, std::int32_t width, std::int32_t decimals, char* field);

// Right-aligns a fixed-point number, if need be without the 0 before its point; false when it does
// not fit.
bool right_align(std::string_view number, std::int32_t width, char* field);

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_NUMBERS_H_
