// A table with a field of every type, a record of it, and expressions evaluated against both.
#ifndef VQDBSYS_TESTS_SUPPORT_BOUND_TABLE_H_
#define VQDBSYS_TESTS_SUPPORT_BOUND_TABLE_H_

#include <cstdint>
#include <string>

#include "support/exports.h"
#include "support/files.h"

namespace vqdb::testing {

// Codes and value of an expression that was parsed, run and freed.
struct Outcome {
  std::int32_t result = 0;
  std::int32_t detail = 0;
  char type = 0;
  std::int32_t parsed_length = 0;
  std::string bytes;
};

struct BoundTable {
  explicit BoundTable(std::uint32_t kind = 1);
  ~BoundTable();
  BoundTable(const BoundTable&) = delete;
  BoundTable& operator=(const BoundTable&) = delete;

  Outcome evaluate(const std::string& text, std::uint32_t options = 0, std::int32_t max = 0);

  // Type, length of a text and value, as `C10 [Smith     ]`, `N -6.5`, `D 01/02/95` or `L T`; the
  // codes of a failure, as `-25/6034`.
  std::string describe(const std::string& text);

  TemporaryFolder folder;
  VqBlock block = {};
  VqTable* table = nullptr;
  // NAME Smith, CITY San Francisco, STATE CA, AMOUNT 6000.5, DEBT -12.25, RATE (float) 1.5,
  // DUE 2 January 1995, PAID blank, ACTIVE true, NOTES, a memo that is block 7, and BLOB.
  std::string record;
};

double number_in(const std::string& bytes);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_BOUND_TABLE_H_
