#include <array>

#include "row_format.h"

namespace tool {
namespace {

// Bytes for which a value stands in quotes.
constexpr std::array<bool, 256> kQuoted = [] {
  std::array<bool, 256> quoted = {};
  for (const unsigned char c : {',', '"', '\r', '\n'}) quoted[c] = true;
  return quoted;
}();

void append_text(std::string_view text, std::string& out) {
  bool quoted = false;
  for (const char c : text) quoted |= kQuoted[static_cast<unsigned char>(c)];
  if (!quoted) {
    out.append(text);
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

class CsvFormat : public RowFormat {
 public:
  explicit CsvFormat(const RowShape& shape)
      : shape_(shape), line_end_(shape.crlf ? "\r\n" : "\n") {}

  void begin(std::string& out) override {
    for (const Field& field : shape_.fields) {
      if (&field != &shape_.fields.front()) out += ',';
      append_text(field.name, out);
    }
    if (shape_.deleted_column) out.append(",").append(kDeletedColumn);
    out += line_end_;
  }

  void add(const Row& row, std::string& out) override {
    const std::size_t begin = out.size();
    bool first = true;
    for (const Value& value : row.values) {
      if (!first) out += ',';
      first = false;
      append(value, out);
    }
    if (shape_.deleted_column) out += row.deleted ? ",true" : ",false";
    // An empty line would be no row for many readers.
    if (out.size() == begin) out += "\"\"";
    out += line_end_;
  }

  void end(std::string&) override {}

 private:
  static void append(const Value& value, std::string& out) {
    switch (value.kind) {
      case Value::Kind::blank:
        break;
      case Value::Kind::number:
        out.append(value.text);
        break;
      case Value::Kind::date:
        append_iso_date(value.text, out);
        break;
      case Value::Kind::truth:
        out += value.truth ? "true" : "false";
        break;
      case Value::Kind::text:
      case Value::Kind::unreadable:
        append_text(value.text, out);
        break;
    }
  }

  RowShape shape_;
  std::string line_end_;
};

}  // namespace

std::unique_ptr<RowFormat> csv_format(const RowShape& shape) {
  return std::make_unique<CsvFormat>(shape);
}

}  // namespace tool
