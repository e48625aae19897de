#include "grid.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "display.h"
#include "style.h"

namespace tool {
namespace {

constexpr std::size_t kLinesBeforeSettling = 1000;
constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowestText = 12;
constexpr std::size_t kWidestMemo = 60;

}  // namespace

Grid::Grid(const RowShape& shape, Screen& screen)
    : screen_(screen), marks_deleted_(shape.deleted_column) {
  columns_.push_back({"#", true, 10});
  if (marks_deleted_) columns_.push_back({"", false, 1});
  for (const Field& field : shape.fields) {
    const std::size_t most = is_memo_type(field.type) ? kWidestMemo
                             : field.type == 'D'      ? 10
                             : field.type == 'L'      ? 5
                                                      : field.width;
    columns_.push_back({field.name, is_numeric_type(field.type), most});
  }
  for (Column& column : columns_) column.width = display_width(column.name);
}

bool Grid::add(const Row& row) {
  Line line = {std::to_string(row.recno)};
  if (marks_deleted_) line.emplace_back(row.deleted ? "*" : "");
  for (const Value& value : row.values) line.push_back(show(value));
  if (settled_) return print(line);
  for (std::size_t i = 0; i < line.size(); ++i) {
    columns_[i].width = std::max(columns_[i].width, display_width(one_line(line[i])));
  }
  waiting_.push_back(std::move(line));
  if (waiting_.size() == kLinesBeforeSettling) {
    // What comes may be as wide as its field allows.
    for (Column& column : columns_) column.width = std::max(column.width, column.most);
    settle();
  }
  return true;
}

void Grid::settle() {
  settled_ = true;
  if (const auto room = screen_.columns()) shrink(*room);
  if (!under_each_other_) screen_.line(header());
  for (const Line& line : waiting_) {
    if (!print(line)) break;
  }
  waiting_.clear();
}

void Grid::shrink(std::size_t room) {
  const std::size_t gaps = (columns_.size() - 1) * kGap;
  const auto taken = [&] {
    return std::transform_reduce(columns_.begin(), columns_.end(), gaps, std::plus<>(),
                                 [](const Column& column) { return column.width; });
  };
  while (taken() > room) {
    Column* widest = nullptr;
    for (Column& column : columns_) {
      if (!column.right && (widest == nullptr || column.width > widest->width)) widest = &column;
    }
    if (widest == nullptr || widest->width <= kNarrowestText) {
      under_each_other_ = true;
      return;
    }
    --widest->width;
  }
}

std::string Grid::header() const {
  std::string line;
  for (const Column& column : columns_) {
    if (&column != &columns_.front()) line.append(kGap, ' ');
    line += pad(fit(column.name, column.width), column.width, column.right);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return fmt::format("{}{}{}", output_style(style::kBold), line,
                     line.empty() ? "" : output_style(style::kNone));
}

bool Grid::print(const Line& line) {
  if (under_each_other_) return print_under_each_other(line);
  std::string text;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const Column& column = columns_[i];
    if (i > 0) text.append(kGap, ' ');
    std::string cell = one_line(line[i]);
    // Where nobody counts columns a text stays whole.
    if (screen_.columns()) cell = fit(cell, column.width);
    text += pad(cell, column.width, column.right);
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return screen_.line(text);
}

bool Grid::print_under_each_other(const Line& line) {
  std::size_t label = 0;
  for (const Column& column : columns_) label = std::max(label, display_width(column.name));
  const bool deleted = marks_deleted_ && !line[1].empty();
  bool read = screen_.line(fmt::format("{}record {}{}{}", output_style(style::kBold), line[0],
                                       output_style(style::kNone), deleted ? "  deleted" : ""));
  for (std::size_t i = marks_deleted_ ? 2 : 1; i < line.size() && read; ++i) {
    std::string rest = line[i];
    std::string name = columns_[i].name;
    do {  // the lines of a memo stand under each other, too
      const std::size_t end = rest.find('\n');
      std::string piece = rest.substr(0, end);
      rest = end == std::string::npos ? "" : rest.substr(end + 1);
      if (piece.ends_with('\r')) piece.pop_back();
      read = screen_.line(fmt::format("  {}  {}", pad(name, label, false), one_line(piece)));
      name.clear();
    } while (!rest.empty() && read);
  }
  return read;
}

void Grid::finish() {
  if (!settled_) settle();
}

}  // namespace tool
