// A value of the expression language: an operand as the text wrote it, or what an operator or
// function made of others. Values stay where they are and are read in place: a field is its place
// in the record, a long text the place of its bytes.
#ifndef VQDBSYS_EXPR_VALUE_H_
#define VQDBSYS_EXPR_VALUE_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace vqdb::expr {

enum class Type : std::uint8_t {
  none,
  character,
  numeric,
  floating,
  date,
  logical,
  memo,
};

// A set of types, as a function admits them for an argument.
using TypeSet = std::uint8_t;

constexpr TypeSet only(Type type) {
  return static_cast<TypeSet>(1U << static_cast<unsigned>(type));
}

inline constexpr TypeSet kCharacter = only(Type::character);
inline constexpr TypeSet kCharacterOrMemo = kCharacter | only(Type::memo);
inline constexpr TypeSet kNumericOnly = only(Type::numeric);
inline constexpr TypeSet kNumber = kNumericOnly | only(Type::floating);
inline constexpr TypeSet kDate = only(Type::date);
inline constexpr TypeSet kLogical = only(Type::logical);
inline constexpr TypeSet kAny = kCharacter | kNumber | kDate | kLogical;

// How a value is held.
enum class Form : std::uint8_t {
  none,            // no value yet: types are being checked
  field,           // read from the record
  inline_text,     // in the value itself
  text,            // bytes elsewhere that live at least as long as the run
  number_literal,  // as written, read as a double and as an integer
  date_literal,    // as written; its day number follows the date format in force
  number,          // a computed number, or a computed date as its day number
  truth,
};

// Longest text held in the value itself.
inline constexpr std::size_t kInlineText = 19;

struct Value {
  struct FieldPlace {
    std::uint32_t offset;
    bool negated;
  };
  struct NumberLiteral {
    double number;
    std::int32_t integer;
  };
  struct DateLiteral {
    double day;
    const char* text;
  };

  Type type = Type::none;
  Form form = Form::none;
  std::uint8_t integer_digits = 0;
  std::uint8_t decimals = 0;
  // Of a text: its length. While types are checked: the most it can be, or 0 when that is decided
  // at run time. 8 for numbers and dates, 1 for logical values.
  std::int32_t length = 0;
  union {
    FieldPlace field;
    char inline_text[kInlineText + 1];
    const char* text;
    NumberLiteral number_literal;
    DateLiteral date_literal;
    double number;
    bool truth;
  };

  Value() : inline_text{} {}

  // Results of a run; the type stays what the check found. What is no number is 0: SQRT(-1), or
  // infinity less infinity. Index pages could not order it.
  void set_number(double value) {
    form = Form::number;
    number = value == value ? value : 0;
  }
  void set_truth(bool value) {
    form = Form::truth;
    truth = value;
  }
  // Bytes that live as long as the run: a piece of an argument, or memory of the run.
  void set_text(std::string_view value) {
    form = Form::text;
    text = value.data();
    length = static_cast<std::int32_t>(value.size());
  }

  // What a check says of a result.
  void shape(Type result, std::int32_t result_length, unsigned digits = 0, unsigned places = 0) {
    type = result;
    length = result_length;
    integer_digits = static_cast<std::uint8_t>(digits < 255 ? digits : 255);
    decimals = static_cast<std::uint8_t>(places < 255 ? places : 255);
  }
  void shape_number(unsigned digits = 0, unsigned places = 0) {
    shape(Type::numeric, 8, digits, places);
  }
  void shape_date() { shape(Type::date, 8); }
  void shape_logical() { shape(Type::logical, 1); }
  void shape_text(std::int32_t longest) { shape(Type::character, longest); }

  bool is(TypeSet types) const { return (only(type) & types) != 0; }
  bool is_number_literal() const { return form == Form::number_literal; }
};

static_assert(std::is_trivially_copyable_v<Value> && sizeof(Value) <= 32);

// Where a value lies.
struct Place {
  const Value* value = nullptr;
};

// The arguments of an operator or function, in the order written.
class Arguments {
 public:
  Arguments(const Place* first, std::size_t count) : first_(first), count_(count) {}

  std::size_t size() const { return count_; }
  const Value& operator[](std::size_t i) const { return *first_[i].value; }

 private:
  const Place* first_;
  std::size_t count_;
};

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_VALUE_H_
