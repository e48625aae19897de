// A second evaluator of expressions, written apart from the library's: trees instead of postfix
// programs, values instead of places, and plain standard library calls. Trees are decoded from
// numbers, so that whatever makes numbers makes expressions.
#ifndef VQDBSYS_TESTS_SUPPORT_EXPRESSION_MODEL_H_
#define VQDBSYS_TESTS_SUPPORT_EXPRESSION_MODEL_H_

#include "support/test.h"

namespace vqdb::testing {

struct ModelValue {
  char type = 0;  // C N D L
  std::string text;
  double number = 0;  // of a date: its day number
  bool truth = false;
};

// What a type check or a run refuses.
struct ModelRefusal {
  int result = 0, detail = 0;
};

// The fields of the bound table that expressions name.
struct ModelRecord {
  std::string name;        // 10 bytes
  std::string city;        // 25 bytes
  std::int64_t cents = 0;  // AMOUNT
  double due = 0;
  bool active = false;
};

struct ModelFamily;

struct ModelNode {
  const ModelFamily* family = nullptr;
  ModelValue literal;  // where there is no family
  std::string spelling;
  std::vector<ModelNode> arguments;

  std::string text() const;
  // The type letter. Throws ModelRefusal.
  char check() const;
  // REQUIRES a checked tree. Throws ModelRefusal.
  ModelValue run(const ModelRecord& record) const;
};

// Decodes an expression of the type. With `broken` some arguments are of any type, missing or too
// many.
ModelNode decode_expression(const std::vector<std::uint8_t>& choices, char type, bool broken);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_EXPRESSION_MODEL_H_
