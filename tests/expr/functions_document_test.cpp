// Every example of docs/expressions.md, run from the document itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/exports.h"
#include "support/files.h"

namespace {

constexpr std::string_view kDocument =
#include "expressions_document.inc"
    ;

constexpr std::size_t kFunctions = 76;

// The table that the document describes, at record 2 of 3.
class Customer {
 public:
  Customer() {
    const char* const fields[] = {"NAME", "C20", "CITY", "C15", "STATE", "C2", "AMOUNT", "N10.2",
                                  "DUE",  "D",   "PAID", "L",   "NOTES", "M",  "CLOSED", "D"};
    block_.kind = 1;
    const std::string name = folder_.file("CUSTOMER.DBF");
    EXPECT_EQ(0, lib.dDcreat(&block_, name.c_str(), 8, fields));
    table_ = lib.dDopen(&block_, name.c_str(), 0, 4);
    if (table_ == nullptr) return;
    record_ = std::string(" Ann Lee             San Diego      CA   1234.50") + "19950307T" +
              std::string(18, ' ');
    EXPECT_EQ(static_cast<std::int32_t>(record_.size()), lib.dDreclen(table_));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, lib.dDapprec(table_, record_.data()));
    EXPECT_EQ(0, lib.dDgetrec(table_, 2, record_.data()));
    block_.kind |= 8;
  }
  ~Customer() { EXPECT_EQ(0, lib.dDclose(table_)); }

  // The value as the document writes it.
  std::string value(const std::string& text) {
    char buffer[1001] = {};
    char type = '?';
    std::int32_t length = 0;
    const std::int32_t result =
        lib.dEeval(&block_, text.c_str(), table_, record_.data(), buffer, &type, &length);
    if (result != 0) return "failed: " + std::to_string(block_.detail);
    const std::string bytes(buffer, static_cast<std::size_t>(length));
    switch (type) {
      case 'C':
        return '"' + bytes + '"';
      case 'D':
        return '{' + bytes + '}';
      case 'L':
        return '.' + bytes + '.';
      default:
        break;
    }
    double number = 0;
    std::memcpy(&number, buffer, sizeof number);
    char digits[64];
    return {digits, std::to_chars(digits, digits + 64, number).ptr};
  }

  // The result code of a parse that is to fail, or 0; the detail code goes to `detail`.
  std::int32_t refusal(const std::string& text, std::int32_t& detail) {
    VqExpr* expression = nullptr;
    char type = '?';
    std::int32_t length = 0;
    block_.detail = 0;
    const std::int32_t result =
        lib.dEparse(&block_, text.c_str(), table_, &expression, &type, &length);
    lib.dEfree(expression);
    detail = block_.detail;
    return result;
  }

  std::int32_t parsed_length(const std::string& text, char& type) {
    VqExpr* expression = nullptr;
    std::int32_t length = -1;
    EXPECT_EQ(0, lib.dEparse(&block_, text.c_str(), table_, &expression, &type, &length)) << text;
    lib.dEfree(expression);
    return length;
  }

 private:
  vqdb::testing::TemporaryFolder folder_;
  VqBlock block_ = {};
  VqTable* table_ = nullptr;
  std::string record_;
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
      std::int32_t detail = 0;
      EXPECT_EQ(code, customer.refusal(text, detail)) << text;
      EXPECT_EQ(code == 0 ? 0 : number, detail) << text;
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
    char type = '?';
    EXPECT_EQ(row[1], std::to_string(customer.parsed_length(text, type))) << text;
    EXPECT_EQ('C', type) << text;
  }
}

}  // namespace
