#include <fmt/format.h>

#include <iterator>

#include "row_format.h"

namespace tool {
namespace {

void append_text(std::string_view text, std::string& out) {
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (byte >= 0x20 && byte != 0x7F) {
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c == '\t') {
      out += "\\t";
    } else {
      fmt::format_to(std::back_inserter(out), "\\u{:04x}", static_cast<unsigned>(byte));
    }
  }
  out += '"';
}

void append_value(const Value& value, std::string& out) {
  switch (value.kind) {
    case Value::Kind::blank:
    case Value::Kind::unreadable:
      out += "null";
      break;
    case Value::Kind::number:
      append_plain_number(value.text, out);
      break;
    case Value::Kind::date:
      out += '"';
      append_iso_date(value.text, out);
      out += '"';
      break;
    case Value::Kind::truth:
      out += value.truth ? "true" : "false";
      break;
    case Value::Kind::text:
      append_text(value.text, out);
      break;
  }
}

class JsonFormat : public RowFormat {
 public:
  JsonFormat(const RowShape& shape, bool is_array)
      : is_array_(is_array), deleted_column_(shape.deleted_column) {
    for (const Field& field : shape.fields) {
      std::string& label = labels_.emplace_back(labels_.empty() ? "" : ",");
      append_text(field.name, label);
      label += ':';
    }
    if (deleted_column_) {
      deleted_label_ = labels_.empty() ? "" : ",";
      append_text(kDeletedColumn, deleted_label_);
      deleted_label_ += ':';
    }
  }

  void begin(std::string& out) override {
    if (is_array_) out += '[';
  }

  void add(const Row& row, std::string& out) override {
    if (is_array_) out += any_ ? ",\n" : "\n";
    any_ = true;
    out += '{';
    for (std::size_t i = 0; i < row.values.size(); ++i) {
      out += labels_[i];
      append_value(row.values[i], out);
    }
    if (deleted_column_) out.append(deleted_label_).append(row.deleted ? "true" : "false");
    out += '}';
    if (!is_array_) out += '\n';
  }

  void end(std::string& out) override {
    if (is_array_) out += any_ ? "\n]\n" : "]\n";
  }

 private:
  bool is_array_;
  bool deleted_column_;
  bool any_ = false;
  std::vector<std::string> labels_;
  std::string deleted_label_;
};

}  // namespace

std::unique_ptr<RowFormat> json_format(const RowShape& shape) {
  return std::make_unique<JsonFormat>(shape, true);
}

std::unique_ptr<RowFormat> json_lines_format(const RowShape& shape) {
  return std::make_unique<JsonFormat>(shape, false);
}

}  // namespace tool
