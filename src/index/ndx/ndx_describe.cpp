#include "index/ndx/ndx_describe.h"

namespace vqdb::index {
namespace {

constexpr Operation kExpression{305};
constexpr Operation kExpressionLength{306};

}  // namespace

Result key_expression(const NdxFile& file, char* text, std::int32_t size, std::int32_t* flags) {
  if (text == nullptr) return fail(file.block, Result::out_of_range, kExpression.detail(2));
  const auto length = static_cast<std::int32_t>(file.expression_length);
  if (size <= length) return fail(file.block, Result::out_of_range, kExpression.detail(3));
  std::memcpy(text, file.text.get(), file.expression_length + 1);
  if (flags != nullptr) *flags = file.keys.unique ? kUniqueIndex : 0;
  return Result::ok;
}

Result key_expression_length(const NdxFile& file, std::int32_t* length, std::int32_t* flags) {
  if (length == nullptr) return fail(file.block, Result::out_of_range, kExpressionLength.detail(2));
  *length = static_cast<std::int32_t>(file.expression_length);
  if (flags != nullptr) *flags = 0;
  return Result::ok;
}

}  // namespace vqdb::index
