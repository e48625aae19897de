// A compiled expression. Operands lie in the program and results in its run stack, each in a place
// of its own, so a run only calls one handler after another: nothing is pushed, popped or copied.
#ifndef VQDBSYS_EXPR_PROGRAM_H_
#define VQDBSYS_EXPR_PROGRAM_H_

#include <algorithm>
#include <cstdint>
#include <span>

#include "expr/function.h"
#include "expr/postfix.h"
#include "expr/value.h"
#include "platform/memory.h"

namespace vqdb::expr {

// A call with those that make its arguments, which stand right before it.
struct Extent {
  std::uint16_t calls = 1;
  bool never_fails = false;
  std::uint32_t cost = 1;  // roughly
};

// Where a truth settles an .AND. or .OR., whose other operand then need not be made.
struct Shortcut {
  bool truth = false;       // of this call, and then of the .AND. or .OR.
  std::uint16_t ahead = 0;  // how many calls further on that stands; 0: this call settles nothing
};

// An operator or function with its arguments and the place of its result.
struct Call {
  Handler run = nullptr;
  const Place* arguments = nullptr;
  Value* result = nullptr;
  std::uint8_t argument_count = 0;
  Token token = Token::none;
  Extent extent = {};
  Shortcut shortcut = {};
};

// Why a program was refused by the check of types; ok when it was not.
struct Refusal {
  Result result = Result::ok;
  std::int32_t detail = 0;
};

class Program {
 public:
  // Takes memory for the words of the expression; details 6003, and for the run stack the given
  // one.
  Result reserve(VqBlock& block, const Postfix& order, std::int32_t run_stack_detail);

  // Checks the types and lays out the calls. The check stack has room for every word.
  Refusal assemble(VqBlock& block, const Postfix& order, Place* check_stack);

  // In the order of the run.
  std::span<const Call> calls() const { return {calls_, call_count_}; }
  std::span<Value> operands() const { return {operands_, operand_count_}; }
  // The value of the whole expression, in its place. REQUIRES that assemble refused nothing.
  const Value& result() const { return *result_; }
  bool reads_fields() const { return reads_fields_; }
  bool runs(Handler handler) const {
    return std::ranges::any_of(calls(), [=](const Call& call) { return call.run == handler; });
  }

 private:
  friend class Assembler;

  platform::Bytes block_;  // operands, calls, then the arguments of all calls
  platform::Array<Value> run_stack_;
  Value* operands_ = nullptr;
  Call* calls_ = nullptr;
  Place* arguments_ = nullptr;
  const Value* result_ = nullptr;
  std::uint16_t operand_count_ = 0;
  std::uint16_t call_count_ = 0;
  bool reads_fields_ = false;
};

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_PROGRAM_H_
