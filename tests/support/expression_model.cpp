#include "support/expression_model.h"

#include <chrono>
#include <cmath>
#include <cstdlib>

namespace vqdb::testing {

using Values = std::vector<ModelValue>;

struct Overload {
  char result;
  std::string_view arguments;
  ModelValue (*run)(const Values&);
};

struct ModelFamily {
  const char* name;
  int token;
  std::vector<Overload> overloads;

  bool is_operator() const { return token < 20; }
  // STR and SUBSTR take several numbers of arguments, of which the model knows one.
  bool has_one_arity() const { return !is_operator() && token != 80 && token != 82; }
  bool is_prefix() const { return token == 16; }
};

namespace {

ModelValue text(std::string value) { return {'C', std::move(value), 0, false}; }
ModelValue number(double value) { return {'N', "", std::isnan(value) ? 0 : value, false}; }
ModelValue date(double value) { return {'D', "", value, false}; }
ModelValue truth(bool value) { return {'L', "", 0, value}; }

std::size_t count_of(const ModelValue& value) {
  return value.number < 0 ? 0 : static_cast<std::size_t>(std::min(value.number, 1e6));
}

std::string cased(std::string value, int from, int to) {
  for (char& c : value) {
    if (c >= from && c < from + 26) c = static_cast<char>(c - from + to);
  }
  return value;
}

// Without the blanks at the end.
std::string trimmed(std::string value) {
  while (value.ends_with(' ')) value.pop_back();
  return value;
}

std::string repeated(const std::string& value, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times && result.size() < 254; ++i) result += value;
  return result.substr(0, 254);
}

double shifted(double day, double by) { return day < 1 ? 0 : day + by; }

std::chrono::year_month_day calendar(double day) {
  using namespace std::chrono;
  return sys_days{year{1} / 1 / 1} + days{static_cast<int>(day) - 1};
}

bool is_empty(double day) { return day < 1 || day >= 3652060; }

int part_of(double day, char part) {
  if (is_empty(day)) return 0;
  const auto ymd = calendar(day);
  if (part == 'Y') return static_cast<int>(ymd.year());
  return static_cast<int>(part == 'M' ? static_cast<unsigned>(ymd.month())
                                      : static_cast<unsigned>(ymd.day()));
}

std::string digits(int value, int width) {
  const std::string all = std::to_string(value + 100000);
  return all.substr(all.size() - static_cast<std::size_t>(width));
}

// Less, equal, greater as -1, 0, 1; the right text counts as far as it goes.
int compared(const ModelValue& a, const ModelValue& b) {
  if (a.type != 'C') return a.number - b.number < 0 ? -1 : a.number - b.number > 0 ? 1 : 0;
  const auto order = [](char x, char y) {
    return static_cast<signed char>(x) < static_cast<signed char>(y);
  };
  const std::string left = a.text.substr(0, b.text.size());
  if (left == b.text) return 0;
  return std::lexicographical_compare(left.begin(), left.end(), b.text.begin(), b.text.end(), order)
             ? -1
             : 1;
}

// The longest beginning that is a number; the words of the C library for others are none.
double value_of(const std::string& written) {
  const std::size_t end = written.find_first_not_of(" \t+-.0123456789eE");
  return std::strtod(written.substr(0, end).c_str(), nullptr);
}

std::string integer_text(double value, std::size_t width) {
  std::string written = std::abs(value) < 1e15 ? std::to_string(static_cast<std::int64_t>(value))
                                               : std::string(300, '9');
  if (written.size() > width) return std::string(width, '*');
  return std::string(width - written.size(), ' ') + written;
}

template <typename Accepts>
ModelFamily comparisons(const char* name, int token, Accepts) {
  const auto run = [](const Values& v) { return truth(Accepts{}(compared(v[0], v[1]))); };
  // Logical values are equal when both are true, else neither less nor greater.
  const auto run_logical = [](const Values& v) {
    constexpr Accepts accepts;
    return truth(v[0].truth && v[1].truth ? accepts(0) : accepts(-1) && accepts(1));
  };
  return {name,
          token,
          {{'L', "CC", run}, {'L', "NN", run}, {'L', "DD", run}, {'L', "LL", run_logical}}};
}

const std::vector<ModelFamily>& families() {
  using V = const Values&;
  static const std::vector<ModelFamily> all = {
      {"+",
       1,
       {{'C', "CC", [](V v) { return text(v[0].text + v[1].text); }},
        {'N', "NN", [](V v) { return number(v[0].number + v[1].number); }},
        {'D', "DN", [](V v) { return date(shifted(v[0].number, v[1].number)); }},
        {'D', "ND", [](V v) { return date(shifted(v[1].number, v[0].number)); }}}},
      {"-",
       2,
       {{'C', "CC",
         [](V v) {
           const std::string kept = trimmed(v[0].text);
           return text(kept + v[1].text + std::string(v[0].text.size() - kept.size(), ' '));
         }},
        {'N', "NN", [](V v) { return number(v[0].number - v[1].number); }},
        {'D', "DN", [](V v) { return date(shifted(v[0].number, -v[1].number)); }},
        {'N', "DD", [](V v) { return number(v[0].number - v[1].number); }}}},
      {"*", 3, {{'N', "NN", [](V v) { return number(v[0].number * v[1].number); }}}},
      {"/",
       4,
       {{'N', "NN",
         [](V v) {
           if (v[1].number == 0) throw ModelRefusal{-31, 5004};
           return number(v[0].number / v[1].number);
         }}}},
      comparisons("<", 6, [](int order) { return order < 0; }),
      comparisons("<=", 7, [](int order) { return order <= 0; }),
      comparisons(">", 8, [](int order) { return order > 0; }),
      comparisons(">=", 9, [](int order) { return order >= 0; }),
      comparisons("=", 10, [](int order) { return order == 0; }),
      comparisons("<>", 12, [](int order) { return order != 0; }),
      {"$",
       13,
       {{'L', "CC", [](V v) { return truth(v[1].text.find(v[0].text) != std::string::npos); }}}},
      {".AND.", 14, {{'L', "LL", [](V v) { return truth(v[0].truth && v[1].truth); }}}},
      {".OR.", 15, {{'L', "LL", [](V v) { return truth(v[0].truth || v[1].truth); }}}},
      {".NOT.", 16, {{'L', "L", [](V v) { return truth(!v[0].truth); }}}},
      {"DTOS",
       41,
       {{'C', "D",
         [](V v) {
           const double day = v[0].number;
           if (is_empty(day)) return text("        ");
           return text(digits(part_of(day, 'Y'), 4) + digits(part_of(day, 'M'), 2) +
                       digits(part_of(day, 'D'), 2));
         }}}},
      {"IIF",
       47,
       {{'C', "LCC", [](V v) { return v[0].truth ? v[1] : v[2]; }},
        {'N', "LNN", [](V v) { return v[0].truth ? v[1] : v[2]; }},
        {'D', "LDD", [](V v) { return v[0].truth ? v[1] : v[2]; }},
        {'L', "LLL", [](V v) { return v[0].truth ? v[1] : v[2]; }}}},
      {"LEFT", 52, {{'C', "CN", [](V v) { return text(v[0].text.substr(0, count_of(v[1]))); }}}},
      {"LEN", 53, {{'N', "C", [](V v) { return number(static_cast<double>(v[0].text.size())); }}}},
      {"MAX",
       58,
       {{'N', "NN", [](V v) { return number(std::max(v[0].number, v[1].number)); }},
        {'D', "DD", [](V v) { return date(std::max(v[0].number, v[1].number)); }}}},
      {"REPLICATE",
       70,
       {{'C', "CN", [](V v) { return text(repeated(v[0].text, count_of(v[1]))); }}}},
      {"STR",
       80,
       {{'C', "N", [](V v) { return text(integer_text(std::round(v[0].number), 10)); }}}},
      {"SUBSTR",
       82,
       {{'C', "CNN",
         [](V v) {
           const std::size_t start = count_of(v[1]);
           if (start < 1 || start > v[0].text.size()) return text("");
           return text(v[0].text.substr(start - 1, count_of(v[2])));
         }}}},
      {"TRIM", 85, {{'C', "C", [](V v) { return text(trimmed(v[0].text)); }}}},
      {"UPPER", 86, {{'C', "C", [](V v) { return text(cased(v[0].text, 'a', 'A')); }}}},
      {"VAL", 87, {{'N', "C", [](V v) { return number(value_of(v[0].text)); }}}},
  };
  return all;
}

ModelNode leaf(ModelValue value, std::string spelling) {
  return {nullptr, std::move(value), std::move(spelling), {}};
}

class Decoder {
 public:
  Decoder(const std::vector<std::uint8_t>& choices, bool broken)
      : choices_(choices), broken_(broken) {}

  ModelNode decode(char type, int depth) {
    struct Candidate {
      const ModelFamily* family;
      const Overload* overload;
    };
    std::vector<Candidate> candidates;
    for (const ModelFamily& family : families()) {
      for (const Overload& overload : family.overloads) {
        if (overload.result == type) candidates.push_back({&family, &overload});
      }
    }
    const std::size_t choice = next();
    if (depth == 0 || choice < 64) return leaf_of(type, choice);
    const auto [family, overload] = candidates[next() % candidates.size()];
    ModelNode node{family, {}, "", {}};
    for (const char argument : overload->arguments) {
      node.arguments.push_back(decode(broken_ && one_in(8) ? any_type() : argument, depth - 1));
    }
    if (broken_ && family->has_one_arity() && one_in(8)) node.arguments.pop_back();
    if (broken_ && family->has_one_arity() && one_in(8)) {
      node.arguments.insert(node.arguments.begin(), decode(any_type(), 0));
    }
    return node;
  }

 private:
  std::size_t next() { return at_ < choices_.size() ? choices_[at_++] : 0; }
  bool one_in(std::size_t n) { return next() % n == n - 1; }
  char any_type() { return "CNDL"[next() % 4]; }

  ModelNode leaf_of(char type, std::size_t choice) {
    static const char* const kTexts[] = {"",   "a",     "Smith",
                                         "an", " 12.5", "San Francisco, California"};
    switch (type) {
      case 'C': {
        if (choice % 8 < 2) return leaf(text(""), choice % 8 == 0 ? "NAME" : "CITY");
        const std::string value = kTexts[choice % 8 - 2];
        return leaf(text(value), '"' + value + '"');
      }
      case 'N': {
        if (choice % 4 == 0) return leaf(number(0), "AMOUNT");
        const int small = static_cast<int>(next());
        if (choice % 4 == 1) return leaf(number(small % 10 + 0.25), digits(small, 1) + ".25");
        const bool negative = choice % 4 == 2;
        return leaf(number(negative ? -small : small),
                    (negative ? "-" : "") + std::to_string(small));
      }
      case 'D':
        if (choice % 4 < 2) return leaf(date(0), "DUE");
        return choice % 4 == 2 ? leaf(date(0), "{}") : leaf(date(728295), "{01/02/95}");
      default:
        if (choice % 2 == 0) return leaf(truth(false), "ACTIVE");
        return choice % 4 == 1 ? leaf(truth(true), ".T.") : leaf(truth(false), ".F.");
    }
  }

  const std::vector<std::uint8_t>& choices_;
  std::size_t at_ = 0;
  bool broken_;
};

}  // namespace

std::string ModelNode::text() const {
  if (family == nullptr) return spelling;
  if (family->is_prefix()) return std::string("(") + family->name + " " + arguments[0].text() + ")";
  if (family->is_operator()) {
    return "(" + arguments[0].text() + " " + family->name + " " + arguments[1].text() + ")";
  }
  std::string list;
  for (const ModelNode& argument : arguments) list += (list.empty() ? "" : ",") + argument.text();
  return family->name + ("(" + list + ")");
}

char ModelNode::check() const {
  if (family == nullptr) return literal.type;
  std::string types;
  for (const ModelNode& argument : arguments) types += argument.check();
  const int detail = 5000 + family->token;
  const std::size_t wanted = family->overloads.front().arguments.size();
  // The last arguments are those that count: too few, then wrong ones, then too many.
  if (!family->is_operator() && types.size() < wanted) throw ModelRefusal{-28, detail};
  const std::string last = types.substr(types.size() - wanted);
  const auto match = std::ranges::find(family->overloads, last, &Overload::arguments);
  if (match == family->overloads.end()) {
    throw ModelRefusal{family->is_operator() ? -25 : -27, detail};
  }
  if (types.size() > wanted) throw ModelRefusal{-29, detail};
  return match->result;
}

ModelValue ModelNode::run(const ModelRecord& record) const {
  if (family == nullptr) {
    if (spelling == "NAME") return vqdb::testing::text(record.name);
    if (spelling == "CITY") return vqdb::testing::text(record.city);
    if (spelling == "AMOUNT") return number(static_cast<double>(record.cents) / 100);
    if (spelling == "DUE") return date(record.due);
    if (spelling == "ACTIVE") return truth(record.active);
    return literal;
  }
  Values values;
  std::string types;
  for (const ModelNode& argument : arguments) {
    values.push_back(argument.run(record));
    types += values.back().type;
  }
  return std::ranges::find(family->overloads, types, &Overload::arguments)->run(values);
}

ModelNode decode_expression(const std::vector<std::uint8_t>& choices, char type, bool broken) {
  return Decoder(choices, broken).decode(type, 4);
}

}  // namespace vqdb::testing
