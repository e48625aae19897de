// A table with a field of every type, a record of it, and expressions evaluated against both.
#ifndef VQDBSYS_TESTS_SUPPORT_BOUND_TABLE_H_
#define VQDBSYS_TESTS_SUPPORT_BOUND_TABLE_H_

#include "support/test.h"

namespace vqdb::testing {

// Codes and value of an expression that was parsed, run and freed.
struct Outcome {
  std::int32_t result = 0, detail = 0;
  char type = 0;
  std::int32_t parsed_length = 0;
  std::string bytes;
};

struct BoundTable : NotCopied {
  explicit BoundTable(std::uint32_t kind = 1);
  // Another table, of these pairs of names and types, and a record of it.
  BoundTable(std::uint32_t kind, const std::vector<const char*>& fields, std::string its_record);
  ~BoundTable();

  Outcome evaluate(const std::string& text, std::uint32_t options = 0, std::int32_t max = 0);

  // Type, length of a text and value, as `C10 [Smith     ]`, `N -6.5`, `D 01/02/95` or `L T`; the
  // codes of a failure, as `-25/6034`. With the options of a key, its bytes in hexadecimal digits.
  std::string describe(const std::string& text, std::uint32_t options = 0);

  TemporaryFolder folder;
  VqBlock block = {};
  VqTable* table = nullptr;
  // NAME Smith, CITY San Francisco, STATE CA, AMOUNT 6000.5, DEBT -12.25, RATE (float) 1.5,
  // DUE 2 January 1995, PAID blank, ACTIVE true, NOTES, a memo that is block 7, and BLOB.
  std::string record;
};

// Where some of them lie in the record.
inline constexpr std::size_t kCity = 11;
inline constexpr std::size_t kCityWidth = 25;
inline constexpr std::size_t kAmount = 38;
inline constexpr std::size_t kDue = 66;
inline constexpr std::size_t kActive = 82;

// An expression, parsed against the bound table or another one, and freed with its owner.
struct Program : NotCopied {
  Program(BoundTable& owner, const std::string& text) : Program(owner, text.c_str(), owner.table) {}
  Program(BoundTable& owner, const char* text, VqTable* table);
  ~Program();

  // Bytes as a run leaves them, the first of a longer buffer full of `~`.
  Outcome run(const char* record, std::uint32_t options = 0, std::int32_t max = 0);
  std::string value(const std::string& record) { return run(record.data()).bytes; }

  BoundTable& bound;
  VqExpr* expr = nullptr;
  char type = '?';
  std::int32_t length = -1, result = 0;
  std::string buffer;
};

double number_in(const std::string& bytes);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_BOUND_TABLE_H_
