#include "table_maker.h"

#include <vqdbsys.h>

#include <fstream>

#include "code_pages.h"
#include "file_names.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::streamoff kLanguageOffset = 29;

void write_header_byte(const std::string& table_path, std::streamoff offset, std::uint8_t byte) {
  std::fstream file(table_path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(offset);
  file.put(static_cast<char>(byte));
  if (!file.flush()) stop_failed("{}: cannot be written", table_path);
}

}  // namespace

FieldSpec parse_field_spec(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
    stop_usage("\"{}\" is no field such as NAME:C20, PRICE:N10.2, DUE:D, PAID:L or NOTES:M", text);
  }
  FieldSpec spec = {text.substr(0, colon), text.substr(colon + 1)};
  for (char& c : spec.type) {
    if (c == ',') c = '.';
  }
  return spec;
}

void add_new_table_options(CommandLine& command, NewTableOptions& options) {
  command.choice("--dialect", options.dialect, "KIND", {"3", "4", "fox"},
                 "Kind of table: 3 dBASE III (the default), 4 dBASE IV, fox FoxPro");
  command.flag("--force", options.force, "Replace a table that is there");
}

std::uint32_t dialect_number(const std::string& name) {
  if (name == "4") return 4;
  return name == "fox" ? 8 : 1;
}

void create_table(const std::string& name, const std::vector<FieldSpec>& fields,
                  const NewTableOptions& options) {
  VqBlock block;
  require(block, DBinit(&block, dialect_number(options.dialect)), name);
  std::vector<const char*> texts;
  for (const FieldSpec& field : fields) {
    texts.push_back(field.name.c_str());
    texts.push_back(field.type.c_str());
  }
  const int32_t result =
      DBcreat(&block, name.c_str(), static_cast<int32_t>(fields.size()), texts.data());
  require(block, result, name);
}

void mark_code_page(const std::string& table_path, const std::string& code_page) {
  const std::string plain = plain_code_page(code_page);
  if (const std::uint8_t language = language_of_code_page(plain); language != 0) {
    write_language_byte(table_path, language);
    return;
  }
  const std::string path = replace_extension(table_path, "cpg");
  std::ofstream file(path, std::ios::binary);
  file << plain << '\n';
  if (!file.flush()) stop_failed("{}: cannot be written", path);
}

void restore_language(const std::string& table_path, const Header& header) {
  if (header.language != 0) write_language_byte(table_path, header.language);
}

void write_language_byte(const std::string& table_path, std::uint8_t language) {
  write_header_byte(table_path, kLanguageOffset, language);
}

}  // namespace tool
