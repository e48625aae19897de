#include "support/bound_table.h"

#include <charconv>

namespace vqdb::testing {

BoundTable::BoundTable(std::uint32_t kind)
    : BoundTable(kind, {"NAME",   "C10",  "CITY",  "C25",  "STATE", "C2", "AMOUNT", "N12.2",
                        "DEBT",   "N8.2", "RATE",  "F8.3", "DUE",   "D",  "PAID",   "D",
                        "ACTIVE", "L",    "NOTES", "M",    "BLOB",  "B"},
                 " Smith     San Francisco            CA     6000.50  -12.25   1.500"
                 "19950102        T         7         8") {}

BoundTable::BoundTable(std::uint32_t kind, const std::vector<const char*>& fields,
                       std::string its_record)
    : record(std::move(its_record)) {
  constexpr std::uint32_t kWithBlobs = 4;
  block.kind = kWithBlobs;
  const std::string name = folder.file("BOUND.DBF");
  lib.dDcreat(&block, name.c_str(), static_cast<std::int32_t>(fields.size() / 2), fields.data());
  table = lib.dDopen(&block, name.c_str(), 0, 1);
  block.kind = kind;
  block.detail = 0;
}

BoundTable::~BoundTable() {
  if (table != nullptr) lib.dDclose(table);
}

Program::Program(BoundTable& owner, const char* text, VqTable* table) : bound(owner) {
  bound.block.detail = 0;
  result = lib.dEparse(&bound.block, text, table, &expr, &type, &length);
}

Program::~Program() { lib.dEfree(expr); }

Outcome Program::run(const char* record, std::uint32_t options, std::int32_t max) {
  Outcome outcome = {result, 0, type, length, ""};
  if (result == 0) {
    buffer.assign(1100, '~');
    std::int32_t size = 0;
    outcome.result = lib.dErun(&bound.block, expr, record, options, max, buffer.data(), &size);
    if (outcome.result == 0) outcome.bytes = buffer.substr(0, static_cast<std::size_t>(size));
  }
  outcome.detail = bound.block.detail;
  return outcome;
}

Outcome BoundTable::evaluate(const std::string& text, std::uint32_t options, std::int32_t max) {
  return Program(*this, text).run(record.data(), options, max);
}

std::string BoundTable::describe(const std::string& text, std::uint32_t options) {
  const Outcome outcome = evaluate(text, options);
  if (outcome.result != 0) {
    return std::to_string(outcome.result) + "/" + std::to_string(outcome.detail);
  }
  if (options != 0) {
    std::string digits;
    for (const unsigned char byte : outcome.bytes) {
      for (const int half : {byte >> 4, byte & 15}) digits += "0123456789abcdef"[half];
    }
    return digits;
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
