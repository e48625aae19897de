#include "support/bound_table.h"

#include <charconv>
#include <cstring>

namespace vqdb::testing {

namespace {

constexpr char kUnwritten = '\x7E';

}  // namespace

BoundTable::BoundTable(std::uint32_t kind) {
  constexpr std::uint32_t kWithBlobs = 4;
  const char* const fields[] = {"NAME",   "C10",  "CITY",  "C25",  "STATE", "C2", "AMOUNT", "N12.2",
                                "DEBT",   "N8.2", "RATE",  "F8.3", "DUE",   "D",  "PAID",   "D",
                                "ACTIVE", "L",    "NOTES", "M",    "BLOB",  "B"};
  block.kind = kWithBlobs;
  const std::string name = folder.file("BOUND.DBF");
  lib.dDcreat(&block, name.c_str(), 11, fields);
  table = lib.dDopen(&block, name.c_str(), 0, 1);
  block.kind = kind;
  block.detail = 0;
  record =
      " Smith     San Francisco            CA     6000.50  -12.25   1.500"
      "19950102        T         7         8";
}

BoundTable::~BoundTable() {
  if (table != nullptr) lib.dDclose(table);
}

Outcome BoundTable::evaluate(const std::string& text, std::uint32_t options, std::int32_t max) {
  Outcome outcome;
  VqExpr* expr = nullptr;
  block.detail = 0;
  outcome.result =
      lib.dEparse(&block, text.c_str(), table, &expr, &outcome.type, &outcome.parsed_length);
  if (outcome.result == 0) {
    std::string buffer(1100, kUnwritten);
    std::int32_t length = 0;
    outcome.result = lib.dErun(&block, expr, record.data(), options, max, buffer.data(), &length);
    lib.dEfree(expr);
    if (outcome.result == 0) outcome.bytes = buffer.substr(0, static_cast<std::size_t>(length));
  }
  outcome.detail = block.detail;
  return outcome;
}

std::string BoundTable::describe(const std::string& text) {
  const Outcome outcome = evaluate(text);
  if (outcome.result != 0) {
    return std::to_string(outcome.result) + "/" + std::to_string(outcome.detail);
  }
  const std::string type(1, outcome.type);
  switch (outcome.type) {
    case 'C':
    case 'M':
      return type + std::to_string(outcome.parsed_length) + " [" + outcome.bytes + "]";
    case 'N':
    case 'F': {
      char digits[32];
      const auto end = std::to_chars(digits, digits + sizeof digits, number_in(outcome.bytes));
      return type + " " + std::string(digits, end.ptr);
    }
    default:
      return type + " " + outcome.bytes;
  }
}

double number_in(const std::string& bytes) {
  double value = 0;
  if (bytes.size() == sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

}  // namespace vqdb::testing
