#include "csv_reader.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

#include "stop.h"

namespace tool {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

extern "C" int no_blank(unsigned char) { return 0; }

// Standard input is read twice, so it goes into a file first.
std::FILE* copy_of_input() {
  std::FILE* const copy = std::tmpfile();
  if (copy == nullptr) stop_failed("no temporary file: {}", std::strerror(errno));
  std::vector<char> piece(kPiece);
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), stdin)) {
    if (std::fwrite(piece.data(), 1, got, copy) != got) {
      stop_failed("temporary file: cannot be written: {}", std::strerror(errno));
    }
  }
  return copy;
}

}  // namespace

CsvReader::CsvReader(const std::string& path, char delimiter)
    : name_(path == "-" ? "standard input" : path),
      delimiter_(static_cast<unsigned char>(delimiter)),
      buffer_(kPiece) {
  file_ = path == "-" ? copy_of_input() : std::fopen(path.c_str(), "rb");
  if (file_ == nullptr) stop_failed("{}: cannot be read: {}", name_, std::strerror(errno));
  std::fseek(file_, 0, SEEK_END);
  bytes_ = static_cast<std::uint64_t>(std::ftell(file_));
  if (csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::bad_alloc();
  rewind();
}

CsvReader::~CsvReader() {
  csv_free(&parser_);
  std::fclose(file_);
}

void CsvReader::rewind() {
  csv_free(&parser_);
  csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
  csv_set_delim(&parser_, delimiter_);
  csv_set_space_func(&parser_, no_blank);
  std::rewind(file_);
  rows_.clear();
  cells_.clear();
  lines_read_ = bytes_read_ = 0;
  row_line_ = 1;
  at_end_ = row_is_open_ = false;
}

void CsvReader::take_cell(void* bytes, std::size_t length, void* reader) {
  static_cast<CsvReader*>(reader)->cells_.emplace_back(static_cast<const char*>(bytes), length);
}

void CsvReader::take_row(int, void* reader) {
  CsvReader& self = *static_cast<CsvReader*>(reader);
  self.rows_.push_back({self.row_line_, std::move(self.cells_)});
  self.cells_.clear();
  self.row_ended_ = true;
}

void CsvReader::parse(const char* bytes, std::size_t length) {
  if (csv_parse(&parser_, bytes, length, take_cell, take_row, this) == length) return;
  stop_failed("{}: line {}: {}", name_, lines_read_ + 1, csv_strerror(csv_error(&parser_)));
}

void CsvReader::read_more() {
  const std::size_t got = std::fread(buffer_.data(), 1, buffer_.size(), file_);
  std::string_view piece(buffer_.data(), got);
  if (bytes_read_ == 0 && piece.starts_with(kByteOrderMark)) {
    piece.remove_prefix(kByteOrderMark.size());
  }
  bytes_read_ += got;
  while (!piece.empty()) {  // line by line, so that every row's is known
    const std::size_t end = piece.find('\n');
    const std::size_t length = end == std::string_view::npos ? piece.size() : end + 1;
    const std::string_view line = piece.substr(0, length);
    const bool is_blank = line.find_first_not_of("\r\n") == std::string_view::npos;
    row_ended_ = false;
    parse(line.data(), line.size());
    piece.remove_prefix(length);
    row_is_open_ = !row_ended_ && (row_is_open_ || !is_blank);
    if (end == std::string_view::npos) break;
    ++lines_read_;
    if (!row_is_open_) row_line_ = lines_read_ + 1;
  }
  if (got > 0) return;
  if (std::ferror(file_) != 0) stop_failed("{}: cannot be read", name_);
  at_end_ = true;
  if (csv_fini(&parser_, take_cell, take_row, this) != 0) {
    stop_failed("{}: line {}: a quote is not closed before the end", name_, row_line_);
  }
}

bool CsvReader::next(std::vector<std::string>& cells) {
  while (rows_.empty() && !at_end_) read_more();
  if (rows_.empty()) return false;
  line_ = rows_.front().line;
  cells = std::move(rows_.front().cells);
  rows_.pop_front();
  return true;
}

}  // namespace tool
