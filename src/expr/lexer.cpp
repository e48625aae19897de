#include "expr/lexer.h"

#include <algorithm>

#include "convert/numbers.h"
#include "expr/function.h"
#include "expr/operand.h"
#include "frame/bytes.h"

namespace vqdb::expr {

namespace {

constexpr Operation kParse{600};
constexpr Operation kText{601};
constexpr Operation kWord{602};
constexpr Operation kOperand{603};

constexpr std::string_view kAlias = "FIELD";
constexpr std::string_view kArrow = "->";

bool is_blank(char c) { return c == ' ' || c == '\t'; }

class Lexer {
 public:
  Lexer(VqBlock& block, std::string_view text, const table::Table* table, Lexemes& lexemes)
      : block_(block),
        rest_(text),
        table_(table),
        lexemes_(lexemes),
        extended_((block.kind & dialect::kExtendedSyntax) != 0) {}

  Result run();

 private:
  Result next();
  Result take_operator(const SpelledOperator& spelled);
  Result take_quoted(Type type, char close);
  Result take_logical();
  Result take_name();
  Result scan_name(std::string_view& name);
  Result bind(std::string_view name);
  const char* keep(std::string_view literal);

  void skip_blanks();
  // Moves past so many characters; false when the text has no room for them.
  bool spend(std::size_t count);
  void push(Token token) { lexemes_.array[lexemes_.count++].token = token; }
  void push(const Value& operand);

  VqBlock& block_;
  std::string_view rest_;
  const table::Table* table_;
  Lexemes& lexemes_;
  bool extended_;

  std::size_t spent_ = 0;
  std::size_t kept_ = 0;
  std::ptrdiff_t open_parentheses_ = 0;
  bool operand_expected_ = true;
  bool negate_ = false;  // a minus waits for a number
};

Result Lexer::run() {
  for (skip_blanks(); !rest_.empty(); skip_blanks()) {
    if (const Result result = next(); !ok(result)) return result;
  }
  if (open_parentheses_ != 0) return fail(block_, Result::parentheses, kWord.detail(2));
  return Result::ok;
}

Result Lexer::next() {
  if (const auto spelled = find_operator(rest_, extended_)) return take_operator(*spelled);
  switch (rest_.front()) {
    case '"':
    case '\'':
      return take_quoted(Type::character, rest_.front());
    case '[':
      return take_quoted(Type::character, ']');
    case '{':
      return take_quoted(Type::date, '}');
    case '.':
      if (rest_.size() < 2 || !is_digit(rest_[1])) return take_logical();
      [[fallthrough]];
    default:
      return take_name();
  }
}

Result Lexer::take_operator(const SpelledOperator& spelled) {
  if (!spend(spelled.length)) return fail(block_, Result::text_limit, kText.detail(1));
  const Token token = spelled.token;
  if (operand_expected_ && (token == Token::plus || token == Token::minus)) {
    negate_ = negate_ || token == Token::minus;
    return Result::ok;
  }
  if (token == Token::open_parenthesis) ++open_parentheses_;
  if (token == Token::close_parenthesis) --open_parentheses_;
  // What is in parentheses is an operand, so a minus behind it subtracts.
  operand_expected_ = token != Token::close_parenthesis;
  // A minus before anything but a number is dropped: -(2+3) is 5.
  negate_ = false;
  push(token);
  return Result::ok;
}

Result Lexer::take_quoted(Type type, char close) {
  if (!spend(1)) return fail(block_, Result::text_limit, kText.detail(1));
  const std::size_t length = rest_.find(close);
  const std::string_view content = rest_.substr(0, length);
  if (content.size() > kMaxText) return fail(block_, Result::text_limit, kText.detail(3));
  if (!spend(content.size())) return fail(block_, Result::text_limit, kText.detail(4));
  if (length == std::string_view::npos) return fail(block_, Result::open_quote, kText.detail(2));
  if (!spend(1)) return fail(block_, Result::text_limit, kText.detail(4));

  if (type == Type::character && content.size() <= kInlineText) {
    push(short_text(content));
    return Result::ok;
  }
  const char* kept = keep(content);
  const std::int32_t detail = kOperand.detail(type == Type::character ? 1 : 2);
  if (kept == nullptr) return fail(block_, Result::no_memory, detail);
  push(type == Type::character ? long_text({kept, content.size()})
                               : date_literal({kept, content.size()}));
  return Result::ok;
}

Result Lexer::take_logical() {
  const char letter = rest_.size() > 2 && rest_[2] == '.' ? to_upper(rest_[1]) : ' ';
  if (std::string_view("TFYN").find(letter) == std::string_view::npos) {
    return fail(block_, Result::stray_point, kText.detail(6));
  }
  if (!spend(3)) return fail(block_, Result::text_limit, kText.detail(1));
  push(logical_constant(letter == 'T' || letter == 'Y'));
  return Result::ok;
}

Result Lexer::take_name() {
  std::string_view name;
  if (const Result result = scan_name(name); !ok(result)) return result;
  skip_blanks();
  if (rest_.starts_with('(')) {
    const auto function = find_function(name, extended_);
    if (!function) return fail(block_, Result::unknown_function, kWord.detail(0));
    negate_ = false;
    push(*function);
    return Result::ok;
  }
  const bool aliased = (block_.kind & dialect::kFieldAlias) != 0 && rest_.starts_with(kArrow) &&
                       std::ranges::equal(name, kAlias, {}, to_upper);
  if (!aliased) return bind(name);
  if (!spend(kArrow.size())) return fail(block_, Result::text_limit, kText.detail(1));
  skip_blanks();
  if (const Result result = scan_name(name); !ok(result)) return result;
  return bind(name);
}

// The first character is taken whatever it is. A point is taken as the second character only, so
// that 1.5 is a number but 12.5 is two.
Result Lexer::scan_name(std::string_view& name) {
  std::size_t length = std::min<std::size_t>(rest_.size(), 1);
  while (length < rest_.size() && (is_letter(rest_[length]) || is_digit(rest_[length]) ||
                                   rest_[length] == '_' || (rest_[length] == '.' && length == 1))) {
    ++length;
  }
  name = rest_.substr(0, length);
  if (length > kMaxText) return fail(block_, Result::text_limit, kText.detail(8));
  if (!spend(length)) return fail(block_, Result::text_limit, kText.detail(7));
  return Result::ok;
}

Result Lexer::bind(std::string_view name) {
  const table::Field* field = table_ != nullptr ? table::find_field(*table_, name) : nullptr;
  if (field != nullptr) {
    push(field_operand(*field, negate_));
    return Result::ok;
  }
  const bool point = name.starts_with('.');
  const std::string_view digits = point ? name.substr(1) : name;
  if (digits.empty() || !is_digit(digits.front())) {
    return fail(block_, Result::operand, kOperand.detail(point ? 3 : 4));
  }
  push(number_literal(name, negate_));
  return Result::ok;
}

const char* Lexer::keep(std::string_view literal) {
  if (lexemes_.literals == nullptr) {
    lexemes_.literals = platform::allocate_array<char>(kMaxText);
    if (lexemes_.literals == nullptr) return nullptr;
  }
  char* place = lexemes_.literals.get() + kept_;
  std::ranges::copy(literal, place);
  kept_ += literal.size();
  return place;
}

void Lexer::skip_blanks() {
  while (!rest_.empty() && is_blank(rest_.front())) rest_.remove_prefix(1);
}

bool Lexer::spend(std::size_t count) {
  if (count > kMaxText - spent_) return false;
  spent_ += count;
  rest_.remove_prefix(count);
  return true;
}

void Lexer::push(const Value& operand) {
  lexemes_.array[lexemes_.count++].operand = operand;
  operand_expected_ = false;
  negate_ = false;
}

}  // namespace

Result lex(VqBlock& block, std::string_view text, const table::Table* table, Lexemes& lexemes) {
  // Every lexeme takes a character at least.
  lexemes.array = platform::allocate_array<Lexeme>(std::min(text.size(), kMaxText));
  if (lexemes.array == nullptr) return fail(block, Result::no_memory, kParse.detail(2));
  return Lexer(block, text, table, lexemes).run();
}

}  // namespace vqdb::expr
