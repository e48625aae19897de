// Expressions from the command line, compiled for a table.
#ifndef VQDB_EXPRESSION_H_
#define VQDB_EXPRESSION_H_

#include <vqdbsys.h>

#include <memory>
#include <string>

#include "table.h"

namespace tool {

// A value that an expression gave.
struct Result {
  char type = 'C';   // C N D L
  std::string text;  // C: UTF-8; D: YYYYMMDD, empty when blank
  double number = 0;
  bool truth = false;
};

class Expression {
 public:
  // Compiles a UTF-8 text; a null table: no fields. Ends the command (wrong usage) when it has a
  // mistake.
  Expression(const std::string& text, const Table* table);
  ~Expression();
  Expression(const Expression&) = delete;
  Expression& operator=(const Expression&) = delete;

  char type() const { return type_; }
  // Of a logical expression; `record` with its deletion flag.
  bool is_true(const char* record);
  Result run(const char* record);

 private:
  [[noreturn]] void stop(int32_t result) const;

  std::string text_;
  const Table* table_;
  std::unique_ptr<VqBlock> block_;
  VqExpr* program_ = nullptr;
  char type_ = 0;
  std::string room_;
};

// The value as a person reads it: dates as 2024-01-31, numbers in full.
std::string show(const Result& result);

}  // namespace tool

#endif  // VQDB_EXPRESSION_H_
