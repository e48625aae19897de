#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "convert/decimal.h"
#include "expr/function.h"
#include "platform/clock.h"

namespace vqdb::expr {

namespace {

// ---- Rules

// What is known of a result that may have any magnitude and fraction.
constexpr unsigned kOpenDigits = 10;
constexpr unsigned kOpenDecimals = 8;

Result open_number(const VqBlock&, Arguments, Value& result) {
  result.shape_number(kOpenDigits, kOpenDecimals);
  return Result::ok;
}

Result like_first(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_number(arguments[0].integer_digits, arguments[0].decimals);
  return Result::ok;
}

// One more for what rounding up carries.
Result whole(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_number(arguments[0].integer_digits + 1U);
  return Result::ok;
}

Result sign_rule(const VqBlock&, Arguments, Value& result) {
  result.shape_number(2);
  return Result::ok;
}

Result round_rule(const VqBlock&, Arguments arguments, Value& result) {
  const Value& decimals = arguments[1];
  const std::int32_t kept = decimals.is_number_literal()
                                ? std::clamp(decimals.number_literal.integer, 0, 255)
                                : arguments[0].decimals;
  result.shape_number(arguments[0].integer_digits + 1U, static_cast<unsigned>(kept));
  return Result::ok;
}

// Two numbers or two dates.
Result extreme_rule(const VqBlock&, Arguments arguments, Value& result) {
  const Value& a = arguments[0];
  const Value& b = arguments[1];
  if (a.is(kDate) != b.is(kDate)) return Result::argument_type;
  if (a.is(kDate)) {
    result.shape_date();
  } else {
    result.shape_number(std::max(a.integer_digits, b.integer_digits),
                        std::max(a.decimals, b.decimals));
  }
  return Result::ok;
}

// ---- Handlers

template <auto function>
Result apply(Run& run, Arguments arguments, Value& result) {
  result.set_number(function(run.number(arguments[0])));
  return Result::ok;
}

template <auto function>
Result apply_two(Run& run, Arguments arguments, Value& result) {
  result.set_number(function(run.number(arguments[0]), run.number(arguments[1])));
  return Result::ok;
}

constexpr double kDegrees = 180 / std::numbers::pi;

constexpr auto absolute = [](double x) { return std::fabs(x); };
constexpr auto arc_cosine = [](double x) { return std::acos(x); };
constexpr auto arc_sine = [](double x) { return std::asin(x); };
constexpr auto arc_tangent = [](double x) { return std::atan(x); };
constexpr auto arc_tangent_of_two = [](double sine, double cosine) {
  return std::atan2(sine, cosine);
};
constexpr auto ceiling = [](double x) { return std::ceil(x); };
constexpr auto cosine = [](double x) { return std::cos(x); };
constexpr auto to_radians = [](double x) { return x / kDegrees; };
constexpr auto exponential = [](double x) { return std::exp(x); };
constexpr auto floor_of = [](double x) { return std::floor(x); };
constexpr auto truncated = [](double x) { return std::trunc(x); };
constexpr auto natural_logarithm = [](double x) { return std::log(x); };
constexpr auto common_logarithm = [](double x) { return std::log10(x); };
constexpr auto to_degrees = [](double x) { return x * kDegrees; };
constexpr auto sign = [](double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; };
constexpr auto sine = [](double x) { return std::sin(x); };
constexpr auto square_root = [](double x) { return std::sqrt(x); };
constexpr auto tangent = [](double x) { return std::tan(x); };

Result pi(Run&, Arguments, Value& result) {
  result.set_number(std::numbers::pi);
  return Result::ok;
}

Result round(Run& run, Arguments arguments, Value& result) {
  result.set_number(convert::round_to(run.number(arguments[0]), run.integer(arguments[1])));
  return Result::ok;
}

double comparable(const Run& run, const Value& value) {
  return value.is(kDate) ? run.day(value) : run.number(value);
}

Result max(Run& run, Arguments arguments, Value& result) {
  result.set_number(std::max(comparable(run, arguments[0]), comparable(run, arguments[1])));
  return Result::ok;
}

Result min(Run& run, Arguments arguments, Value& result) {
  result.set_number(std::min(comparable(run, arguments[0]), comparable(run, arguments[1])));
  return Result::ok;
}

// (1 + rate) ^ periods - 1, exact for small rates, too.
double growth(double rate, double periods) { return std::expm1(periods * std::log1p(rate)); }

Result future_value(Run& run, Arguments arguments, Value& result) {
  const double payment = run.number(arguments[0]);
  const double rate = run.number(arguments[1]);
  const double periods = run.number(arguments[2]);
  result.set_number(payment * (rate == 0 ? periods : growth(rate, periods) / rate));
  return Result::ok;
}

Result present_value(Run& run, Arguments arguments, Value& result) {
  const double payment = run.number(arguments[0]);
  const double rate = run.number(arguments[1]);
  const double periods = run.number(arguments[2]);
  result.set_number(payment * (rate == 0 ? periods : -growth(rate, -periods) / rate));
  return Result::ok;
}

Result payment(Run& run, Arguments arguments, Value& result) {
  const double principal = run.number(arguments[0]);
  const double rate = run.number(arguments[1]);
  const double periods = run.number(arguments[2]);
  if (periods == 0) return Result::division;
  result.set_number(rate == 0 ? principal / periods : principal * rate / -growth(rate, -periods));
  return Result::ok;
}

constexpr double kDefaultSeed = 100001;

std::uint64_t seeded(double seed) {
  if (seed < 0) {  // by the clock
    const platform::LocalTime now = platform::local_time();
    seed =
        ((now.day * 24 + now.hour) * 60 + now.minute) * 6000.0 + now.second * 100 + now.hundredth;
  }
  const auto state = std::bit_cast<std::uint64_t>(seed);
  return state != 0 ? state : 1;  // 0 means not yet seeded
}

// A sequence that visits every 64-bit state, each one scrambled into the number it gives.
double next_random(std::uint64_t& state) {
  state += 0x9E3779B97F4A7C15;
  std::uint64_t bits = state;
  bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
  bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
  return static_cast<double>((bits ^ bits >> 31) >> 11) * 0x1p-53;
}

Result rand(Run& run, Arguments arguments, Value& result) {
  std::uint64_t state = run.block().random_state;
  if (arguments.size() > 0) {
    state = seeded(run.number(arguments[0]));
  } else if (state == 0) {
    state = seeded(kDefaultSeed);
  }
  result.set_number(next_random(state));
  run.block().random_state = state;
  return Result::ok;
}

constexpr TypeSet kNumberOrDate = kNumber | kDate;

constexpr Function kFunctions[] = {
    {Token::abs, 1, 1, {kNumber}, like_first, apply<absolute>},
    {Token::acos, 1, 1, {kNumber}, open_number, apply<arc_cosine>},
    {Token::asin, 1, 1, {kNumber}, open_number, apply<arc_sine>},
    {Token::atan, 1, 1, {kNumber}, open_number, apply<arc_tangent>},
    {Token::atn2, 2, 2, {kNumber, kNumber}, open_number, apply_two<arc_tangent_of_two>},
    {Token::ceiling, 1, 1, {kNumber}, whole, apply<ceiling>},
    {Token::cos, 1, 1, {kNumber}, open_number, apply<cosine>},
    {Token::dtor, 1, 1, {kNumber}, open_number, apply<to_radians>},
    {Token::exp, 1, 1, {kNumber}, open_number, apply<exponential>},
    {Token::floor, 1, 1, {kNumber}, whole, apply<floor_of>},
    {Token::fv, 3, 3, {kNumber, kNumber, kNumber}, open_number, future_value},
    {Token::integer, 1, 1, {kNumber}, whole, apply<truncated>},
    {Token::log, 1, 1, {kNumber}, open_number, apply<natural_logarithm>},
    {Token::log10, 1, 1, {kNumber}, open_number, apply<common_logarithm>},
    {Token::max, 2, 2, {kNumberOrDate, kNumberOrDate}, extreme_rule, max},
    {Token::min, 2, 2, {kNumberOrDate, kNumberOrDate}, extreme_rule, min},
    {Token::mod, 2, 2, {kNumber, kNumber}, open_number, apply_two<convert::modulo>},
    {Token::payment, 3, 3, {kNumber, kNumber, kNumber}, open_number, payment},
    {Token::pi, 0, 0, {}, open_number, pi},
    {Token::pv, 3, 3, {kNumber, kNumber, kNumber}, open_number, present_value},
    {Token::rand, 0, 1, {kNumber}, open_number, rand},
    {Token::round, 2, 2, {kNumber, kNumber}, round_rule, round},
    {Token::rtod, 1, 1, {kNumber}, open_number, apply<to_degrees>},
    {Token::sign, 1, 1, {kNumber}, sign_rule, apply<sign>},
    {Token::sin, 1, 1, {kNumber}, open_number, apply<sine>},
    {Token::sqrt, 1, 1, {kNumber}, open_number, apply<square_root>},
    {Token::tan, 1, 1, {kNumber}, open_number, apply<tangent>},
};

}  // namespace

std::span<const Function> numeric_functions() { return kFunctions; }

}  // namespace vqdb::expr
