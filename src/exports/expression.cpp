#include "expr/expression.h"

#include "exports/guard.h"
#include "expr/compiled.h"
#include "table/table.h"
#include "vqdbsys.h"

namespace {

using vqdb::fail;
using vqdb::ok;
using vqdb::Operation;
using vqdb::Result;
using vqdb::exports::guarded;
namespace expr = vqdb::expr;

constexpr Operation kParse{600};
constexpr Operation kRun{606};
constexpr Operation kReadRecord{26};

constexpr std::int32_t kEvaluateMax = 1000;

// No live expression; a null one is an empty text.
Result refuse_handle(VqBlock& block, const VqExpr* expr) {
  return fail(block, expr == nullptr ? Result::empty : Result::bad_handle, kRun.bad_handle());
}

// Types as the caller knows them: without a type check the letter stays as it was.
Result parse(VqBlock& block, const char* text, VqTable* table, expr::Expression*& out, char& type,
             std::int32_t& length) {
  expr::Binding binding;
  binding.check_types = table != VQ_NO_TABLE;
  if (binding.check_types && table != nullptr) {
    binding.table = vqdb::table::find_live(table);
    if (binding.table == nullptr) return fail(block, Result::bad_handle, kParse.detail(7));
  }
  expr::ResultShape shape;
  const Result result = expr::parse(block, text, binding, out, shape);
  if (binding.check_types || !ok(result)) type = shape.type;
  length = shape.length;
  return result;
}

}  // namespace

int32_t VQ_CALL dEparse(VqBlock* block, const char* text, VqTable* table, VqExpr** out, char* type,
                        int32_t* length) {
  if (block == nullptr || out == nullptr || type == nullptr || length == nullptr) {
    return VQ_E_RANGE;
  }
  return guarded([&] {
    expr::Expression* expression = nullptr;
    const Result result = parse(*block, text, table, expression, *type, *length);
    *out = reinterpret_cast<VqExpr*>(expression);
    return result;
  });
}

int32_t VQ_CALL dErun(VqBlock* block, VqExpr* expr, const void* record, uint32_t options,
                      int32_t max, void* buffer, int32_t* length) {
  if (block == nullptr || buffer == nullptr || length == nullptr) return VQ_E_RANGE;
  expr::Expression* expression = expr::expressions().find(expr);
  if (expression != nullptr) {
    return guarded(
        [&] { return expr::run(*block, *expression, record, options, max, buffer, *length); });
  }
  *static_cast<char*>(buffer) = '\0';
  *length = 0;
  return code(refuse_handle(*block, expr));
}

int32_t VQ_CALL dEfilter(VqExpr* expr, VqTable* table, uint32_t first, uint32_t count,
                         uint32_t* recnos, uint32_t* got) {
  if (got != nullptr) *got = 0;
  return vqdb::exports::with_handle(
      vqdb::table::tables(), table, kReadRecord.bad_handle(), [&](vqdb::table::Table& open) {
        VqBlock& block = vqdb::table::block_of(open);
        if (recnos == nullptr || got == nullptr) return Result::out_of_range;
        expr::Expression* const expression = expr::expressions().find(expr);
        if (expression == nullptr) return refuse_handle(block, expr);
        return expr::filter(*expression, open, first, count, recnos, *got);
      });
}

int32_t VQ_CALL dEeval(VqBlock* block, const char* text, VqTable* table, const void* record,
                       void* buffer, char* type, int32_t* length) {
  if (block == nullptr || buffer == nullptr || type == nullptr || length == nullptr) {
    return VQ_E_RANGE;
  }
  return guarded([&] {
    expr::Expression* expression = nullptr;
    Result result = parse(*block, text, table, expression, *type, *length);
    if (!ok(result)) return result;
    result = expr::run(*block, *expression, record, 0, kEvaluateMax, buffer, *length);
    expr::free(*expression);
    return result;
  });
}

int32_t VQ_CALL dEfree(VqExpr* expr) {
  return vqdb::exports::with_handle(expr::expressions(), expr, kRun.bad_handle(),
                                    [](expr::Expression& expression) {
                                      expr::free(expression);
                                      return Result::ok;
                                    });
}
