#include "expr/postfix.h"

#include "expr/operators.h"

namespace vqdb::expr {

namespace {

constexpr Operation kOrder{604};

// Operators, functions and parentheses that wait for what follows them.
class Orderer {
 public:
  Orderer(Word* output, Word* stack) : output_(output), stack_(stack) {}

  std::size_t written() const { return written_; }

  void operand(const Lexeme& lexeme) { write({&lexeme}); }

  void push(const Lexeme& lexeme) {
    while (waiting_ > 0 && goes_before(top(), lexeme.token)) pop();
    stack_[waiting_++] = {&lexeme};
    if (is_function(lexeme.token)) write({});
  }

  // Pops one operator at most: of two that wait, the outer one goes on waiting and takes the
  // argument behind the comma for its right operand.
  void comma() {
    if (waiting_ > 0 && top() < Token::open_parenthesis) pop();
  }

  // False when no parenthesis is open.
  bool close_parenthesis() {
    while (waiting_ > 0 && top() != Token::open_parenthesis) pop();
    if (waiting_ == 0) return false;
    --waiting_;
    if (waiting_ > 0 && is_function(top())) pop();
    return true;
  }

  void finish() {
    while (waiting_ > 0) pop();
  }

 private:
  static bool goes_before(Token waiting, Token incoming) {
    if (waiting == Token::open_parenthesis || incoming == Token::open_parenthesis) return false;
    if (is_function(waiting)) return true;
    return !is_function(incoming) &&
           operator_of(incoming).precedence >= operator_of(waiting).precedence;
  }

  Token top() const { return stack_[waiting_ - 1].lexeme->token; }
  void pop() { write(stack_[--waiting_]); }
  void write(Word word) { output_[written_++] = word; }

  Word* output_;
  Word* stack_;
  std::size_t written_ = 0;
  std::size_t waiting_ = 0;
};

}  // namespace

Result to_postfix(VqBlock& block, std::span<const Lexeme> lexemes, Postfix& order) {
  // A function is written twice, with its mark. The operator stack lies behind the output.
  order.array = platform::allocate_array<Word>(3 * lexemes.size());
  if (order.array == nullptr) return fail(block, Result::no_memory, kOrder.detail(1));
  Orderer orderer(order.array.get(), order.array.get() + 2 * lexemes.size());
  for (const Lexeme& lexeme : lexemes) {
    switch (lexeme.token) {
      case Token::none:
        orderer.operand(lexeme);
        break;
      case Token::comma:
        orderer.comma();
        break;
      case Token::close_parenthesis:
        if (!orderer.close_parenthesis()) return fail(block, Result::mismatch, kOrder.detail(2));
        break;
      default:
        orderer.push(lexeme);
    }
  }
  orderer.finish();
  order.count = orderer.written();
  return Result::ok;
}

}  // namespace vqdb::expr
