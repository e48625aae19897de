#include "warnings.h"

#include "progress.h"
#include "stop.h"
#include "style.h"

namespace tool {
namespace {

constexpr std::uint64_t kPrintedOfAKind = 10;
bool is_quiet = false;

void print(std::string_view style, std::string_view label, const std::string& words) {
  Progress::clear_line();
  fmt::print(stderr, "vqdb: {}{}{} {}\n", error_style(style), label, error_style(style::kNone),
             words);
}

}  // namespace

Quiet::Quiet() { is_quiet = true; }
Quiet::~Quiet() { is_quiet = false; }

void print_warning(const std::string& words) {
  if (!is_quiet) print(style::kWarning, "warning:", words);
}
void print_note(const std::string& words) { print(style::kFaint, "note:", words); }
void print_error(const std::string& words) { print(style::kError, "error:", words); }

void Warnings::add(const std::string& kind, const std::string& words) {
  if (strict_) stop_failed("{} (--strict)", words);
  if (++counts_[kind] <= kPrintedOfAKind) print_warning(words);
}

void Warnings::finish() {
  for (const auto& [kind, count] : counts_) {
    if (count > kPrintedOfAKind) {
      print_warning(fmt::format("{} more {}, {} in all", count - kPrintedOfAKind, kind, count));
    }
  }
  counts_.clear();
}

}  // namespace tool
