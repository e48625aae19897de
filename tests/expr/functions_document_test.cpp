// Every example of docs/expressions.md, run from the document itself.

#include "support/bound_table.h"

namespace {

constexpr std::string_view kDocument =
#include "expressions.md.inc"
    ;

constexpr std::size_t kFunctions = 76;

// The table that the document describes, at record 2 of 3.
class Customer : public BoundTable {
 public:
  Customer()
      : BoundTable(
            8,
            {"NAME", "C20", "CITY", "C15", "STATE", "C2", "AMOUNT", "N10.2", "DUE", "D", "PAID",
             "L", "NOTES", "M", "CLOSED", "D"},
            " Ann Lee             San Diego      CA   1234.5019950307T" + std::string(18, ' ')) {
    EXPECT_EQ(static_cast<std::int32_t>(record.size()), lib.dDreclen(table));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, lib.dDapprec(table, record.data()));
    EXPECT_EQ(0, lib.dDgetrec(table, 2, record.data()));
  }

  // The value as the document writes it.
  std::string value(const std::string& text) {
    const Outcome outcome = evaluate(text);
    switch (outcome.type) {
      case 'C':
        return '"' + outcome.bytes + '"';
      case 'D':
        return '{' + outcome.bytes + '}';
      case 'L':
        return '.' + outcome.bytes + '.';
      default:
        return describe(text).substr(2);
    }
  }
};

std::vector<std::string_view> cells_of(std::string_view row) {
  std::vector<std::string_view> cells;
  row.remove_prefix(1);
  for (std::size_t end = row.find('|'); end != std::string_view::npos; end = row.find('|')) {
    std::string_view cell = row.substr(0, end);
    while (cell.starts_with(' ')) cell.remove_prefix(1);
    while (cell.ends_with(' ')) cell.remove_suffix(1);
    cells.push_back(cell);
    row.remove_prefix(end + 1);
  }
  return cells;
}

// The rows of all tables whose header row begins like this.
std::vector<std::vector<std::string_view>> rows_below(std::string_view header) {
  std::vector<std::vector<std::string_view>> rows;
  bool inside = false;
  std::string_view rest = kDocument;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.starts_with(header)) {
      inside = true;
    } else if (!line.starts_with('|')) {
      inside = false;
    } else if (inside && !line.starts_with("|---")) {
      rows.push_back(cells_of(line));
    }
  }
  return rows;
}

// The text between the first two back quotes, taken off the front of the cell.
std::string take_quoted(std::string_view& cell) {
  const std::size_t start = cell.find('`');
  if (start == std::string_view::npos) return "";
  const std::size_t end = cell.find('`', start + 1);
  const std::string quoted(cell.substr(start + 1, end - start - 1));
  cell.remove_prefix(end + 1);
  return quoted;
}

TEST(FunctionsDocument, examples_give_what_the_document_says) {
  Customer customer;
  std::set<std::string> functions;
  for (const auto& row : rows_below("| Function |")) {
    ASSERT_EQ(6u, row.size()) << row.front();
    const std::string function(row[0].substr(0, row[0].find(' ')));
    functions.insert(function);
    std::string_view examples = row[5];
    int count = 0;
    for (std::string text = take_quoted(examples); !text.empty(); text = take_quoted(examples)) {
      ASSERT_TRUE(examples.starts_with(" gives ")) << text;
      EXPECT_EQ(take_quoted(examples), customer.value(text)) << text;
      EXPECT_NE(std::string::npos, text.find(function + "(")) << text;
      ++count;
    }
    EXPECT_GT(count, 0) << function;
  }
  EXPECT_EQ(kFunctions, functions.size());
}

// An argument of the type that a letter of the document stands for, and one of no type it admits.
std::string literal(std::string_view letters, bool fitting) {
  struct Literals {
    std::string_view letters;
    const char* fitting;
    const char* wrong;
  };
  const Literals all[] = {{"C", "NAME", "DUE"},     {"C/M", "NOTES", "PAID"},
                          {"n", "AMOUNT", "NAME"},  {"N", "2", "NAME"},
                          {"D", "DUE", "AMOUNT"},   {"L", "PAID", "NAME"},
                          {"any", "NAME", "NOTES"}, {"M", "NOTES", "NOTES"}};
  const auto found = std::ranges::find(all, letters, &Literals::letters);
  EXPECT_NE(std::end(all), found) << letters;
  if (found == std::end(all)) return "";
  return fitting ? found->fitting : found->wrong;
}

// What the document says of a function's arguments: one letter each, those in brackets optional.
struct Signature {
  std::vector<std::string> letters;
  std::size_t required = 0;

  explicit Signature(std::string_view cell) {
    std::string_view all = cell.substr(0, cell.find(" or "));
    bool optional = false;
    std::string letter;
    for (const char c : std::string(all) + ",") {
      if (c == '[') optional = true;
      if (c != ',' && c != '[' && c != ']' && c != ' ') letter += c;
      if ((c != ',' && c != '[') || letter.empty()) continue;
      letters.push_back(letter);
      letter.clear();
      if (!optional || c == '[') required = letters.size();
    }
  }

  std::string arguments(std::size_t count, std::size_t wrong) const {
    std::string list;
    for (std::size_t i = 0; i < count; ++i) {
      list += (i > 0 ? "," : "") + literal(letters[i], i != wrong);
    }
    return list;
  }
};

TEST(FunctionsDocument, arguments_that_it_does_not_list_are_refused) {
  constexpr std::size_t kNone = 99;
  Customer customer;
  for (const auto& row : rows_below("| Function |")) {
    const std::string function(row[0].substr(0, row[0].find(' ')));
    if (function == "EMPTY" || function == "STR") continue;  // takes anything; literals only
    const std::int32_t number = 5000 + std::stoi(std::string(row[1]));
    const Signature signature(row[2]);
    const std::size_t most = signature.letters.size();
    const auto expect = [&](std::int32_t code, std::size_t count, std::size_t wrong) {
      // The last arguments are looked at first: one too many is one in front.
      const bool extra = count > most;
      const std::string text = function + (extra ? most > 0 ? "(NAME," : "(NAME" : "(") +
                               signature.arguments(std::min(count, most), wrong) + ")";
      const Program program(customer, text);
      EXPECT_EQ(codes(code, code == 0 ? 0 : number), codes(program.result, customer.block)) << text;
    };
    for (std::size_t count = 0; count < signature.required; ++count) expect(-28, count, kNone);
    for (std::size_t count = signature.required; count <= most; ++count) expect(0, count, kNone);
    expect(-29, most + 1, kNone);
    for (std::size_t wrong = 0; wrong < most; ++wrong) {
      if (function != "IIF" || wrong == 0) expect(-27, most, wrong);
    }
  }
}

TEST(FunctionsDocument, lengths_are_what_the_document_says) {
  Customer customer;
  const auto rows = rows_below("| Expression | Length");
  EXPECT_GT(rows.size(), 10u);
  for (const auto& row : rows) {
    std::string_view cell = row[0];
    const std::string text = take_quoted(cell);
    const Program program(customer, text);
    EXPECT_EQ(row[1], std::to_string(program.length)) << text;
    EXPECT_EQ('C', program.type) << text;
  }
}

}  // namespace
