#include "expr/expression.h"

#include <array>
#include <cstring>
#include <memory>

#include "expr/compiled.h"
#include "expr/lexer.h"
#include "expr/postfix.h"
#include "platform/memory.h"
#include "table/records.h"

namespace vqdb::expr {

namespace {

constexpr Operation kParse{600};
constexpr Operation kRun{606};

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

Result filter(Expression& expression, table::Table& table, std::uint32_t first, std::uint32_t count,
              std::uint32_t* recnos, std::uint32_t& got) {
  VqBlock& block = table::block_of(table);
  if (!expression.compiled.is_filter_of(table::record_length(table))) {
    return fail(block, Result::mismatch, kRun.detail(3));
  }
  const platform::Bytes record = platform::allocate_bytes(table::record_length(table));
  if (record == nullptr) return fail(block, Result::no_memory, kRun.detail(4));
  for (std::uint32_t i = 0; i < count; ++i) {
    Result result = table::read_whole_record(table, first + i, record.get());
    std::array<char, 2> truth = {};
    std::int32_t length = 0;
    if (ok(result)) result = run(block, expression, record.get(), 0, 1, truth.data(), length);
    if (!ok(result)) return result;
    if (truth[0] == 'T') recnos[got++] = first + i;
  }
  return Result::ok;
}

}  // namespace vqdb::expr
