#include "expr/expression.h"

#include <cstring>
#include <memory>

#include "expr/compiled.h"
#include "expr/lexer.h"
#include "expr/postfix.h"

namespace vqdb::expr {

namespace {

constexpr Operation kParse{600};

struct Close {
  void operator()(Expression* expression) const { expressions().close(expression); }
};

}  // namespace

HandlePool<Expression>& expressions() {
  static HandlePool<Expression> pool;
  return pool;
}

Result parse(VqBlock& block, const char* text, const Binding& binding, Expression*& out,
             ResultShape& shape) {
  out = nullptr;
  shape = {};
  if (text == nullptr || *text == '\0') return fail(block, Result::empty, kParse.detail(1));
  Lexemes lexemes;
  Result result = lex(block, text, binding.table, lexemes);
  if (!ok(result)) return result;
  Postfix order;
  result = to_postfix(block, lexemes.all(), order);
  if (!ok(result)) return result;

  std::unique_ptr<Expression, Close> expression(
      expressions().open(&block, binding.table, std::move(lexemes.literals)));
  if (expression == nullptr) return fail(block, Result::no_memory, kParse.detail(3));
  result = expression->compiled.compile(block, order, binding.check_types, shape);
  if (!ok(result)) return result;
  expression->signature = kHandleSignature;
  out = expression.release();
  return Result::ok;
}

void free(Expression& expression) { expressions().close(&expression); }

bool reads_deletion_flag(const Expression& expression) {
  return expression.compiled.reads_deletion_flag();
}

Result run(VqBlock& block, Expression& expression, const void* record, std::uint32_t options,
           std::int32_t max, void* buffer, std::int32_t& length) {
  return expression.compiled.run(block, static_cast<const char*>(record), options, max,
                                 static_cast<char*>(buffer), length);
}

}  // namespace vqdb::expr
