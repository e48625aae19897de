#include "table.h"

#include <algorithm>
#include <fstream>

#include "code_pages.h"
#include "file_names.h"
#include "stop.h"
#include "warnings.h"

namespace tool {
namespace {

// Most commands look at each record once, from start to end. The shared modes read a block at a
// time, so that nobody's change is missed between two looks; here none would be, and many are read
// at once.
constexpr int kBuffers = 64;
constexpr std::uint32_t kInTurn = VQ_OPEN_READ_ONLY;
// An index may lead to records that were appended since the table was opened.
constexpr std::uint32_t kByNumber = VQ_OPEN_READ_ONLY | VQ_OPEN_SHARED;

constexpr std::uint8_t kFoxproMemo = 0xF5;
constexpr std::uint8_t kDbase4Memo = 0x8B;

}  // namespace

std::uint32_t dialect_of(const Header& header) {
  if (header.version == kFoxproMemo) return 8;
  const bool dbase4 = (header.version & kDbase4Memo) == kDbase4Memo || header.production != 0;
  return dbase4 ? 4 : 1;
}

std::string find_table(const std::string& name) {
  const std::string wanted = with_extension(split_at_semicolon(name).first, "dbf");
  const auto path = find_file(wanted);
  if (!path) stop_failed("{}: there is no such file", wanted);
  return *path;
}

std::unique_ptr<Encoding> encoding_of(const std::string& path, const Header& header,
                                      const std::string& given) {
  if (!given.empty()) return std::make_unique<Encoding>(given, "--encoding");
  if (const auto cpg = find_file(replace_extension(path, "cpg"))) {
    std::string name;
    std::getline(std::ifstream(*cpg), name);
    if (!name.empty()) return std::make_unique<Encoding>(name, *cpg);
  }
  if (const auto page = code_page_of_language(header.language); !page.empty()) {
    return std::make_unique<Encoding>(page, fmt::format("language byte 0x{:02X}", header.language));
  }
  return std::make_unique<Encoding>("1252", std::string(kAssumedSource));
}

Table::Table(const std::string& name, const TextOptions& texts, Reads reads)
    : path_(find_table(name)),
      memo_name_(split_at_semicolon(name).second),
      header_(read_header(path_)),
      block_(std::make_unique<VqBlock>()) {
  if (header_.is_unknown()) {
    stop_failed("{}: version 0x{:02X} ({}): tables of this kind are not read", path_,
                header_.version, name_of_version(header_.version));
  }
  require(*block_, DBinit(block_.get(), dialect_of(header_)), path_);
  handle_ =
      dDopen(block_.get(), path_.c_str(), reads == Reads::in_turn ? kInTurn : kByNumber, kBuffers);
  if (handle_ == nullptr) {
    stop_failed("{}: version 0x{:02X} ({}): {}", path_, header_.version,
                name_of_version(header_.version), words_of(block_->result, block_->detail));
  }
  try {
    take_fields();
    encoding_ = encoding_of(path_, header_, texts.encoding);
    count_records();
  } catch (...) {
    dDclose(handle_);
    throw;
  }
}

Table::~Table() { dDclose(handle_); }

// The library says what the fields are, the header how their names are spelt.
void Table::take_fields() {
  const int32_t count = dDfields(handle_);
  for (int32_t number = 1; number <= count; ++number) {
    VqField known;
    require(*block_, dDfield(handle_, number, &known), path_);
    const auto at = static_cast<std::size_t>(number - 1);
    const std::string name = known.name;
    const bool is_spelt =
        at < header_.fields.size() && equal_ignoring_case(header_.fields[at].name, name);
    fields_.push_back({is_spelt ? header_.fields[at].name : name, known.type, known.length,
                       known.decimals, known.offset});
  }
}

void Table::count_records() {
  require(*block_, dDreccnt(handle_, &count_), path_);
  // Others may have appended some since the file was looked at.
  if (header_.records_in_file() < count_) header_ = read_header(path_);
  const std::uint64_t held = header_.records_in_file();
  if (held < count_ || header_.hides_records()) {
    print_warning(
        fmt::format("{}: the header counts {} records, the file holds {}", path_, count_, held));
  }
  if (held < count_) count_ = static_cast<std::uint32_t>(held);
}

std::size_t Table::field_number(const std::string& name) const {
  const auto found = std::ranges::find_if(
      fields(), [&](const Field& field) { return equal_ignoring_case(field.name, encode(name)); });
  if (found == fields().end()) stop_usage("{} has no field {}", path_, name);
  return static_cast<std::size_t>(found - fields().begin());
}

void Table::stop_unread(int32_t result, std::uint32_t recno) const {
  stop_failed("{}: record {}: {}", path_, recno, words_of(result, block_->detail));
}

std::string Table::encode(const std::string& text) const {
  if (is_ascii(text)) return text;
  std::string encoded;
  if (!encoding_->encode(text, encoded)) {
    stop_usage("\"{}\" has characters that code page {} lacks", text, encoding_->name());
  }
  return encoded;
}

}  // namespace tool
