#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "convert/decimal.h"
#include "expr/functions.h"
#include "platform/clock.h"

namespace vqdb::expr::numbers {

// ---- Rules

Result like_first(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_number(arguments[0].integer_digits, arguments[0].decimals);
  return Result::ok;
}

// One more for what rounding up carries.
Result whole(const VqBlock&, Arguments arguments, Value& result) {
  result.shape_number(arguments[0].integer_digits + 1U);
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

Result pi(Run&, Arguments, Value& result) {
  result.set_number(std::numbers::pi);
  return Result::ok;
}

Result round(Run& run, Arguments arguments, Value& result) {
  result.set_number(convert::round_to(run.number(arguments[0]), run.integer(arguments[1])));
  return Result::ok;
}

namespace {

double comparable(const Run& run, const Value& value) {
  return value.is(kDate) ? run.day(value) : run.number(value);
}

}  // namespace

Result max(Run& run, Arguments arguments, Value& result) {
  result.set_number(std::max(comparable(run, arguments[0]), comparable(run, arguments[1])));
  return Result::ok;
}

Result min(Run& run, Arguments arguments, Value& result) {
  result.set_number(std::min(comparable(run, arguments[0]), comparable(run, arguments[1])));
  return Result::ok;
}

namespace {

// (1 + rate) ^ periods - 1, exact for small rates, too.
double growth(double rate, double periods) { return std::expm1(periods * std::log1p(rate)); }

}  // namespace

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

namespace {

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

}  // namespace

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

}  // namespace vqdb::expr::numbers
