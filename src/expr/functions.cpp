// The functions of the language, one row each in the order of their token numbers. A function is
// added by adding its row.
#include "expr/functions.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "convert/dates.h"
#include "convert/decimal.h"
#include "expr/soundex.h"
#include "table/field.h"

namespace vqdb::expr {

namespace {

// ---- Rules that many functions share

template <unsigned digits, unsigned decimals = 0>
Result number(const VqBlock&, Arguments, Value& result) {
  result.shape_number(digits, decimals);
  return Result::ok;
}

// A result that may have any magnitude and fraction.
constexpr Rule open_number = number<10, 8>;

template <std::size_t length>
Result text_of(const VqBlock&, Arguments, Value& result) {
  result.shape_text(length);
  return Result::ok;
}

// A text as long as the first argument.
Result text_like_first(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_text(arguments[0].length);
  return Result::ok;
}

Result date(const VqBlock&, Arguments, Value& result) {
  result.shape_date();
  return Result::ok;
}

Result logical(const VqBlock&, Arguments, Value& result) {
  result.shape_logical();
  return Result::ok;
}

// The longest are Wednesday and September.
constexpr std::size_t kLongestName = 9;

// ---- Handlers that are a formula of one number or two

template <double (*formula)(double)>
Result of_number(Run& run, Arguments arguments, Value& result) {
  result.set_number(formula(run.number(arguments[0])));
  return Result::ok;
}

template <double (*formula)(double, double)>
Result of_numbers(Run& run, Arguments arguments, Value& result) {
  result.set_number(formula(run.number(arguments[0]), run.number(arguments[1])));
  return Result::ok;
}

constexpr double kDegrees = 180 / std::numbers::pi;

double to_radians(double x) { return x / kDegrees; }
double to_degrees(double x) { return x * kDegrees; }
double sign(double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; }

constexpr TypeSet C = kCharacter;
constexpr TypeSet M = kCharacterOrMemo;
constexpr TypeSet N = kNumber;
constexpr TypeSet D = kDate;
constexpr TypeSet kNumberOrDate = kNumber | kDate;

constexpr bool kPure = true;

using namespace text;
using namespace values;

constexpr Function kTable[] = {
    {20, "ABS", 1, 1, {N}, numbers::like_first, of_number<std::fabs>, kPure},
    {21, "ACOS", 1, 1, {N}, open_number, of_number<std::acos>, kPure},
    {22, "ASC", 1, 1, {C}, number<4>, asc, kPure},
    {23, "ASIN", 1, 1, {N}, open_number, of_number<std::asin>, kPure},
    {24, "AT", 2, 2, {M, C}, number<5>, at, kPure},
    {25, "ATAN", 1, 1, {N}, open_number, of_number<std::atan>, kPure},
    {26, "ATN2", 2, 2, {N, N}, open_number, of_numbers<std::atan2>, kPure},
    {27, "CDOW", 1, 1, {D}, text_of<kLongestName>, dates::cdow},
    {28, "CEILING", 1, 1, {N}, numbers::whole, of_number<std::ceil>, kPure},
    {29, "CHR", 1, 1, {N}, text_of<1>, chr, kPure},
    {30, "CMONTH", 1, 1, {D}, text_of<kLongestName>, dates::cmonth},
    {31, "COS", 1, 1, {N}, open_number, of_number<std::cos>, kPure},
    {32, "CTOD", 1, 1, {C}, date, dates::ctod},
    {33, "DATE", 0, 0, {}, date, dates::date},
    {34, "DAY", 1, 1, {D}, number<2>, dates::day},
    {35, "DELETED", 0, 0, {}, logical, records::deleted},
    {36, "DIFFERENCE", 2, 2, {C, C}, number<4>, difference_of, kPure},
    {37, "DMY", 1, 1, {D}, dates::long_date_rule, dates::dmy},
    {38, "DOW", 1, 1, {D}, number<2>, dates::dow},
    {39, "DTOC", 1, 1, {D}, dates::date_text_rule, dates::dtoc},
    {40, "DTOR", 1, 1, {N}, open_number, of_number<to_radians>, kPure},
    {41, "DTOS", 1, 1, {D}, text_of<convert::kDateFieldWidth>, dates::dtos},
    {42, "EXP", 1, 1, {N}, open_number, of_number<std::exp>, kPure},
    {43, "FIELD", 1, 1, {N}, text_of<table::kMaxFieldName>, records::field},
    {44, "FILE", 1, 1, {C}, logical, records::file},
    {45, "FLOOR", 1, 1, {N}, numbers::whole, of_number<std::floor>, kPure},
    {46, "FV", 3, 3, {N, N, N}, open_number, numbers::future_value, kPure},
    {47, "IIF", 3, 3, {kLogical, kAny, kAny}, iif_rule, iif, kPure},
    {48, "INT", 1, 1, {N}, numbers::whole, of_number<std::trunc>, kPure},
    {49, "ISALPHA", 1, 1, {C}, logical, first_is<is_letter>, kPure},
    {50, "ISLOWER", 1, 1, {C}, logical, first_is<is_lower>, kPure},
    {51, "ISUPPER", 1, 1, {C}, logical, first_is<is_upper>, kPure},
    {52, "LEFT", 2, 2, {M, kNumericOnly}, end_piece_rule, left, kPure},
    {53, "LEN", 1, 1, {M}, number<5>, len, kPure},
    {54, "LOG", 1, 1, {N}, open_number, of_number<std::log>, kPure},
    {55, "LOG10", 1, 1, {N}, open_number, of_number<std::log10>, kPure},
    {56, "LOWER", 1, 1, {C}, text_like_first, change_letters<to_lower>, kPure},
    {57, "LTRIM", 1, 1, {C}, text_like_first, ltrim, kPure},
    {58, "MAX", 2, 2, {kNumberOrDate, kNumberOrDate}, numbers::extreme_rule, numbers::max, kPure},
    {59, "MDY", 1, 1, {D}, dates::long_date_rule, dates::mdy},
    {60, "MIN", 2, 2, {kNumberOrDate, kNumberOrDate}, numbers::extreme_rule, numbers::min, kPure},
    {61, "MOD", 2, 2, {N, N}, open_number, of_numbers<convert::modulo>, kPure},
    {62, "MONTH", 1, 1, {D}, number<2>, dates::month},
    {63, "PAYMENT", 3, 3, {N, N, N}, open_number, numbers::payment, kPure},
    {64, "PI", 0, 0, {}, open_number, numbers::pi, kPure},
    {65, "PV", 3, 3, {N, N, N}, open_number, numbers::present_value, kPure},
    {66, "RAND", 0, 1, {N}, open_number, numbers::rand},
    {67, "RECCOUNT", 0, 0, {}, number<10>, records::reccount},
    {68, "RECNO", 0, 0, {}, number<10>, records::recno},
    {69, "RECSIZE", 0, 0, {}, number<5>, records::recsize},
    {70, "REPLICATE", 2, 2, {M, kNumericOnly}, replicate_rule, replicate, kPure},
    {71, "RIGHT", 2, 2, {M, kNumericOnly}, end_piece_rule, right, kPure},
    {72, "ROUND", 2, 2, {N, N}, numbers::round_rule, numbers::round, kPure},
    {73, "RTOD", 1, 1, {N}, open_number, of_number<to_degrees>, kPure},
    {74, "RTRIM", 1, 1, {C}, text_like_first, rtrim, kPure},
    {75, "SIGN", 1, 1, {N}, number<2>, of_number<sign>, kPure},
    {76, "SIN", 1, 1, {N}, open_number, of_number<std::sin>, kPure},
    {77, "SOUNDEX", 1, 1, {C}, text_of<kSoundexLength>, soundex_of, kPure},
    {78, "SPACE", 1, 1, {N}, space_rule, space, kPure},
    {79, "SQRT", 1, 1, {N}, open_number, of_number<std::sqrt>, kPure},
    {80, "STR", 1, 3, {N, N, N}, str_rule, str, kPure},
    {81, "STUFF", 4, 4, {C, N, N, C}, stuff_rule, stuff, kPure},
    {82, "SUBSTR", 2, 3, {M, N, N}, substr_rule, substr, kPure},
    {83, "TAN", 1, 1, {N}, open_number, of_number<std::tan>, kPure},
    {84, "TIME", 0, 1, {kAny}, dates::time_rule, dates::time},
    {85, "TRIM", 1, 1, {C}, text_like_first, rtrim, kPure},
    {86, "UPPER", 1, 1, {C}, text_like_first, change_letters<to_upper>, kPure},
    {87, "VAL", 1, 1, {C}, val_rule, val, kPure},
    {88, "YEAR", 1, 1, {D}, number<4>, dates::year},
    // From here on with the extended syntax only.
    {89, "ALLTRIM", 1, 1, {C}, text_like_first, alltrim, kPure},
    {90, "CHRTRAN", 3, 3, {C, C, C}, text_like_first, chrtran, kPure},
    {91, "EMPTY", 1, 1, {kAny | kCharacterOrMemo}, logical, empty, kPure},
    {92, "PROPER", 1, 1, {C}, text_like_first, proper, kPure},
    {93, "PADC", 2, 3, {C, N, C}, pad_rule, pad_to<Side::both>, kPure},
    {94, "PADL", 2, 3, {C, N, C}, pad_rule, pad_to<Side::left>, kPure},
    {95, "PADR", 2, 3, {C, N, C}, pad_rule, pad_to<Side::right>, kPure},
};

constexpr int kFirst = number_of(kFirstFunction);
constexpr int kFirstExtended = 89;

// Token numbers are part of the interface: they come back in detail codes.
constexpr bool numbers_are_positions() {
  for (std::size_t i = 0; i < std::size(kTable); ++i) {
    if (kTable[i].number != kFirst + static_cast<int>(i)) return false;
  }
  return true;
}
static_assert(numbers_are_positions());

}  // namespace

const Function& function_of(Token token) { return kTable[number_of(token) - kFirst]; }

std::optional<Token> find_function(std::string_view name, bool extended_syntax) {
  const auto known =
      std::span(kTable).first(extended_syntax ? std::size(kTable) : kFirstExtended - kFirst);
  const auto found = std::ranges::find_if(
      known, [&](const Function& row) { return equal_ignoring_case(name, row.name); });
  if (found == known.end()) return std::nullopt;
  return static_cast<Token>(found->number);
}

}  // namespace vqdb::expr
