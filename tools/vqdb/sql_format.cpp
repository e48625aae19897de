#include "file_names.h"
#include "row_format.h"

namespace tool {
namespace {

// Rows of one INSERT.
constexpr unsigned kRowsAtOnce = 200;

void append_quoted(std::string_view text, char quote, std::string& out) {
  out += quote;
  for (const char c : text) {
    if (c == quote) out += c;
    out += c;
  }
  out += quote;
}

std::string_view type_of(char type) {
  switch (type) {
    case 'N':
    case 'F':
      return "NUMERIC";  // every digit as it stands
    case 'D':
      return "DATE";
    case 'L':
      return "BOOLEAN";
    default:
      return "TEXT";
  }
}

class SqlFormat : public RowFormat {
 public:
  explicit SqlFormat(const RowShape& shape) : shape_(shape) {
    append_quoted(shape.table, '"', table_);
  }

  void begin(std::string& out) override {
    out.append("BEGIN;\nCREATE TABLE ").append(table_).append(" (");
    std::string separator = "\n  ";
    for (const Field& field : shape_.fields) {
      out += separator;
      append_quoted(to_lower(field.name), '"', out);
      out.append(" ").append(type_of(field.type));
      separator = ",\n  ";
    }
    if (shape_.deleted_column) {
      out += separator;
      append_quoted(kDeletedColumn, '"', out);
      out += " BOOLEAN";
    }
    out += "\n);\n";
  }

  void add(const Row& row, std::string& out) override {
    if (rows_ == 0) {
      out.append("INSERT INTO ").append(table_).append(" VALUES\n(");
    } else {
      out += ",\n(";
    }
    bool first = true;
    for (const Value& value : row.values) {
      if (!first) out += ',';
      first = false;
      append(value, out);
    }
    if (shape_.deleted_column) out.append(first ? "" : ",").append(row.deleted ? "TRUE" : "FALSE");
    out += ')';
    if (++rows_ == kRowsAtOnce) end_insert(out);
  }

  void end(std::string& out) override {
    if (rows_ > 0) end_insert(out);
    out += "COMMIT;\n";
  }

 private:
  static void append(const Value& value, std::string& out) {
    switch (value.kind) {
      case Value::Kind::blank:
      case Value::Kind::unreadable:
        out += "NULL";
        break;
      case Value::Kind::number:
        append_plain_number(value.text, out);
        break;
      case Value::Kind::date:
        out += '\'';
        append_iso_date(value.text, out);
        out += '\'';
        break;
      case Value::Kind::truth:
        out += value.truth ? "TRUE" : "FALSE";
        break;
      case Value::Kind::text:
        // No database takes a zero byte; the reader has told where it stands.
        if (value.text.find('\0') != std::string_view::npos) {
          out += "NULL";
        } else {
          append_quoted(value.text, '\'', out);
        }
        break;
    }
  }

  void end_insert(std::string& out) {
    out += ";\n";
    rows_ = 0;
  }

  RowShape shape_;
  std::string table_;
  unsigned rows_ = 0;
};

}  // namespace

std::unique_ptr<RowFormat> sql_format(const RowShape& shape) {
  return std::make_unique<SqlFormat>(shape);
}

}  // namespace tool
