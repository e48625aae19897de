#include "new_table.h"

#include <cstdio>

#include "file_names.h"
#include "index_group.h"
#include "stop.h"
#include "system.h"
#include "warnings.h"

namespace tool {
namespace {

// What can lie beside a table under its name.
constexpr const char* kExtensions[] = {"dbf", "dbt", "fpt", "mdx", "dd", "cpg"};

}  // namespace

NewTable::NewTable(const std::string& name, bool force) : name_(with_extension(name, "dbf")) {
  if (!split_at_semicolon(name).second.empty()) {
    stop_usage("{}: the memo file of a new table has the table's name", name);
  }
  for (const char* const extension : kExtensions) {
    const auto there = find_file(replace_extension(name_, extension));
    if (there && !force) stop_usage("{} is there already (--force replaces it)", *there);
  }
  for (const char* const extension : kExtensions) {
    while (const auto path = find_file(replace_extension(name_, extension))) {
      const std::string kept = fmt::format("{}.{}.before", *path, process_number());
      if (!replace_file(*path, kept)) {
        for (const Aside& file : aside_) replace_file(file.kept, file.path);
        aside_.clear();
        stop_failed("{}: cannot be replaced", *path);
      }
      aside_.push_back({*path, kept});
    }
  }
}

NewTable::~NewTable() {
  if (name_.empty()) return;  // committed
  const HeldInterrupts held;
  for (const char* const extension : kExtensions) {
    if (const auto path = find_file(replace_extension(name_, extension)))
      std::remove(path->c_str());
  }
  for (const std::string& path : made_) {
    if (const auto found = find_file(path)) std::remove(found->c_str());
  }
  for (const Aside& file : aside_) {
    if (!replace_file(file.kept, file.path)) {
      print_error(fmt::format("{}: could not be put back; it is {} now", file.path, file.kept));
    }
  }
}

void NewTable::commit() {
  for (const Aside& file : aside_) std::remove(file.kept.c_str());
  aside_.clear();
  made_.clear();
  name_.clear();
}

std::string NewTable::path() const { return find_file(name_).value_or(name_); }

}  // namespace tool
