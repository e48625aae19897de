#include "header.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <span>

#include "code_pages.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::size_t kPiece = 32;  // of the header, and of each field

struct Version {
  std::uint8_t byte;
  std::string_view name;
};
constexpr std::array<Version, 14> kVersions = {{{0x02, "FoxBase"},
                                                {0x03, "dBASE III or later, no memo file"},
                                                {0x04, "dBASE level 7, no memo file"},
                                                {0x05, "dBASE 5, no memo file"},
                                                {0x30, "Visual FoxPro"},
                                                {0x31, "Visual FoxPro with autoincrement"},
                                                {0x32, "Visual FoxPro with varying fields"},
                                                {0x43, "dBASE IV SQL table, no memo file"},
                                                {0x83, "dBASE III with memo file"},
                                                {0x8B, "dBASE IV with memo file"},
                                                {0x8C, "dBASE level 7 with memo file"},
                                                {0xCB, "dBASE IV SQL table with memo file"},
                                                {0xF5, "FoxPro with memo file"},
                                                {0xFB, "FoxBase with memo file"}}};

using Bytes = std::span<const unsigned char>;

// Older and newer layouts than the one described here, with the fields elsewhere.
bool has_other_layout(std::uint8_t version) {
  return version == 0x02 || version == 0x04 || version == 0x8C;
}

std::uint32_t number16(Bytes bytes, std::size_t at) { return bytes[at] | bytes[at + 1] << 8U; }
std::uint32_t number32(Bytes bytes, std::size_t at) {
  return number16(bytes, at) | number16(bytes, at + 2) << 16U;
}

Field decode_field(Bytes bytes) {
  const auto* const name = reinterpret_cast<const char*>(bytes.data());
  Field field;
  field.name.assign(name, strnlen(name, 11));
  field.type = static_cast<char>(bytes[11]);
  field.width = bytes[16];
  field.decimals = bytes[17];
  return field;
}

void decode_fields(Bytes bytes, Header& header) {
  std::uint32_t offset = 1;
  std::size_t at = 0;
  for (; at + kPiece <= bytes.size() && bytes[at] != 0x0D; at += kPiece) {
    Field field = decode_field(bytes.subspan(at, kPiece));
    field.offset = offset;
    offset += field.width;
    header.fields.push_back(std::move(field));
  }
  header.has_terminator = at < bytes.size() && bytes[at] == 0x0D;
}

}  // namespace

bool is_memo_type(char type) { return type == 'M' || type == 'B' || type == 'G' || type == 'P'; }
bool is_numeric_type(char type) { return type == 'N' || type == 'F'; }

bool Header::is_unknown() const { return version == 0x02; }

bool Header::names_mdx() const {
  constexpr std::array<std::uint8_t, 5> kCdx = {0x30, 0x31, 0x32, 0xF5, 0xFB};
  return production != 0 && std::ranges::find(kCdx, version) == kCdx.end();
}

std::uint64_t Header::records_in_file() const {
  return record_length == 0 || file_size < length ? 0 : (file_size - length) / record_length;
}

Header read_header(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::error_code error;
  Header header;
  header.file_size = std::filesystem::file_size(path, error);
  if (!file || error) {
    stop_failed("{}: cannot be read: {}", path,
                error ? error.message() : std::string(std::strerror(errno)));
  }
  std::array<unsigned char, kPiece> bytes = {};
  if (!file.read(reinterpret_cast<char*>(bytes.data()), bytes.size())) {
    stop_failed("{}: {} bytes are too few for a table", path, header.file_size);
  }
  header.version = bytes[0];
  // No table is older than the programs: smaller numbers are those of programs that count from
  // 2000.
  header.year = (bytes[1] < 80 ? 2000 : 1900) + bytes[1];
  header.month = bytes[2];
  header.day = bytes[3];
  header.records = number32(bytes, 4);
  header.length = number16(bytes, 8);
  header.record_length = number16(bytes, 10);
  header.encryption = bytes[15];
  header.production = bytes[28];
  header.language = bytes[29];
  if (header.length > kPiece && !has_other_layout(header.version)) {
    std::vector<unsigned char> rest(header.length - kPiece);
    file.read(reinterpret_cast<char*>(rest.data()), static_cast<std::streamsize>(rest.size()));
    rest.resize(static_cast<std::size_t>(file.gcount()));
    decode_fields(rest, header);
  }
  file.clear();
  file.seekg(static_cast<std::streamoff>(header.length +
                                         std::uint64_t{header.records} * header.record_length));
  header.has_end_mark = file.get() == 0x1A;
  return header;
}

std::string_view name_of_version(std::uint8_t version) {
  const auto* const found = std::ranges::find(kVersions, version, &Version::byte);
  return found != kVersions.end() ? found->name : "unknown kind";
}

std::vector<std::string> oddities_of(const Header& header) {
  std::vector<std::string> odd;
  if (has_other_layout(header.version)) return odd;
  const auto say = [&]<typename... Arguments>(fmt::format_string<Arguments...> words,
                                              Arguments&&... arguments) {
    odd.push_back(fmt::format(words, std::forward<Arguments>(arguments)...));
  };
  if (header.encryption != 0) say("marked as encrypted");
  if (header.month < 1 || header.month > 12 || header.day < 1 || header.day > 31) {
    say("the date of the last update is none: {:04}-{:02}-{:02}", header.year, header.month,
        header.day);
  }
  const std::uint64_t expected = kPiece + kPiece * header.fields.size() + 1;
  if (header.length != expected) {
    say("the header has {} bytes, its {} fields need {}", header.length, header.fields.size(),
        expected);
  }
  if (!header.has_terminator) say("no 0x0D ends the list of fields");
  std::uint64_t widths = 1;
  std::set<std::string> names;
  for (const Field& field : header.fields) {
    widths += field.width;
    if (!names.insert(field.name).second) say("two fields are called {}", field.name);
  }
  if (widths != header.record_length) {
    say("a record has {} bytes, its fields make {}", header.record_length, widths);
  }
  const std::uint64_t held = header.records_in_file();
  if (held < header.records || header.hides_records()) {
    say("the header counts {} records, the file holds {}", header.records, held);
  } else if (!header.has_end_mark && header.records > 0) {
    say("no 0x1A ends the records");
  }
  if (header.language != 0 && code_page_of_language(header.language).empty()) {
    say("the language byte 0x{:02X} stands for no code page", header.language);
  }
  return odd;
}

}  // namespace tool
