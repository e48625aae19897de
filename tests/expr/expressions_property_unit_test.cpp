// Random expressions against a second evaluator, over random records.
#include <rapidcheck.h>

#include <sstream>

#include "support/bound_table.h"
#include "support/expression_model.h"

namespace {

using Choices = std::vector<std::uint8_t>;

constexpr std::size_t kMaxText = 239;
constexpr std::int32_t kOpenLength = 254;

// Long lists of choices make trees worth running.
rc::Gen<Choices> choices() {
  return rc::gen::resize(200, rc::gen::container<Choices>(rc::gen::arbitrary<std::uint8_t>()));
}

ModelRecord any_record(BoundTable& bound) {
  ModelRecord record;
  const auto text = rc::gen::container<std::string>(
      rc::gen::element('a', 'n', 'S', ' ', '.', '1', '5', 'e', '\xE9', ','));
  record.name = padded(*text, 10);
  record.city = padded(*text, 25);
  record.cents = *rc::gen::inRange<std::int64_t>(-1'000'000, 1'000'000);
  const int day = *rc::gen::inRange(0, 3'000'000);
  record.due = day;

  std::string amount = std::to_string(std::abs(record.cents) / 100) + "." +
                       std::to_string(100 + std::abs(record.cents) % 100).substr(1);
  if (record.cents < 0) amount.insert(0, "-");
  amount.insert(0, 12 - amount.size(), ' ');
  record.active = *rc::gen::arbitrary<bool>();
  std::string due(8, ' ');
  if (day > 0) {
    std::int32_t m = 0, d = 0, y = 0;
    lib.dUJto3i(day, &m, &d, &y);
    lib.dU3itodf(&bound.block, m, d, y, due.data());
  }
  bound.record = " " + record.name + record.city + "CA" + amount + "  -12.25   1.500" + due +
                 "        " + (record.active ? "T" : "F") + "         7         8";
  return record;
}

// The value as a run delivers it, a text no longer than the check said.
std::string delivered(BoundTable& bound, const ModelValue& value, std::int32_t parsed_length) {
  switch (value.type) {
    case 'C':
      RC_ASSERT(static_cast<std::int32_t>(value.text.size()) <= parsed_length ||
                parsed_length == kOpenLength);
      return value.text.substr(0, static_cast<std::size_t>(parsed_length));
    case 'D': {
      if (value.number < 1 || value.number >= 3652060) return "  /  /  ";
      std::int32_t m = 0, d = 0, y = 0;
      lib.dUJto3i(static_cast<std::int32_t>(value.number), &m, &d, &y);
      char field[8];
      lib.dU3itodf(&bound.block, m, d, y, field);
      return std::string(field + 4, 2) + "/" + std::string(field + 6, 2) + "/" +
             std::string(field + 2, 2);
    }
    default:
      return value.truth ? "T" : "F";
  }
}

template <typename Property>
void check(const Property& property) {
  rc::detail::TestParams params = rc::detail::configuration().testParams;
  params.maxSuccess = 3000;
  const auto result = rc::detail::checkTestable(property, rc::detail::TestMetadata{}, params);
  if (result.template is<rc::detail::SuccessResult>()) return;
  std::ostringstream told;
  rc::detail::printResultMessage(result, told);
  FAIL() << told.str() << "\nseed " << params.seed;
}

TEST(ExpressionProperties, well_typed_expressions_have_the_values_of_the_model) {
  BoundTable bound;
  check([&] {
    const ModelRecord record = any_record(bound);
    const char type = *rc::gen::element('C', 'N', 'D', 'L');
    const ModelNode tree = decode_expression(*choices(), type, false);
    const std::string text = tree.text();
    RC_PRE(text.size() <= kMaxText);
    const Outcome outcome = bound.evaluate(text);
    RC_LOG() << text;
    try {
      const ModelValue value = tree.run(record);
      RC_ASSERT(outcome.result == 0);
      RC_ASSERT(outcome.type == type);
      if (type == 'N') {
        RC_ASSERT(number_in(outcome.bytes) == value.number);
      } else {
        RC_ASSERT(outcome.bytes == delivered(bound, value, outcome.parsed_length));
      }
      if (type == 'C') {
        const Outcome key = bound.evaluate(text, 1);
        RC_ASSERT(key.bytes ==
                  padded(outcome.bytes, static_cast<std::size_t>(outcome.parsed_length)));
      }
    } catch (const ModelRefusal& refusal) {
      RC_ASSERT(outcome.result == refusal.result);
      RC_ASSERT(outcome.detail == refusal.detail);
    }
  });
}

TEST(ExpressionProperties, ill_typed_expressions_are_refused_by_their_first_fault) {
  BoundTable bound;
  check([&] {
    const ModelNode tree = decode_expression(*choices(), 'L', true);
    const std::string text = tree.text();
    RC_PRE(text.size() <= kMaxText);
    const Outcome outcome = bound.evaluate(text);
    RC_LOG() << text;
    try {
      const char type = tree.check();
      RC_ASSERT(outcome.result == 0 || outcome.detail == 5004);
      RC_ASSERT(outcome.type == type);
    } catch (const ModelRefusal& refusal) {
      RC_ASSERT(outcome.result == refusal.result);
      RC_ASSERT(outcome.detail == refusal.detail);
    }
  });
}

TEST(ExpressionProperties, broken_texts_fail_with_the_code_of_what_is_broken) {
  struct Break {
    const char* before;  // put around a sound expression
    const char* behind;
    int result, detail;
  };
  const Break breaks[] = {
      {"(", "", -30, 6022},        {"", ")", -30, 6022},   {"'", "", -22, 6012},
      {"", "='open", -22, 6012},   {"{", "", -22, 6012},   {"NOSUCH(", ")", -23, 6020},
      {"UNKNOWN+", "", -25, 6034}, {"", ".X", -24, 6016},  {".", "", -24, 6016},
      {".x+", "", -24, 6016},      {"", "\"\"", -25, 6052}};
  BoundTable bound;
  check([&] {
    const std::string sound = decode_expression(*choices(), 'C', false).text();
    const Break& broken = breaks[*rc::gen::inRange<std::size_t>(0, std::size(breaks))];
    const std::string text = broken.before + sound + broken.behind;
    RC_PRE(text.size() < kMaxText && sound.find_first_of("'}") == std::string::npos);
    RC_LOG() << text;
    const Outcome outcome = bound.evaluate(text);
    RC_ASSERT(outcome.result == broken.result);
    RC_ASSERT(outcome.detail == broken.detail);
  });
}

}  // namespace
