#include <algorithm>
#include <cstdio>

#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "display.h"
#include "file_names.h"
#include "index_list.h"
#include "progress.h"
#include "selection.h"
#include "style.h"
#include "table.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::string index;
  std::string key;
  std::string filter;
  bool unique = false;
  bool descending = false;
  bool dbase3 = false;
  std::vector<std::string> indexes;
  TextOptions texts;
};

// "orders.mdx;byname", or a name with a tag behind it, is an MDX file; else the extension tells.
struct IndexName {
  std::uint32_t kind;
  std::string path;  // in the table's folder unless it names another
  std::string tag;
};

IndexName parse_index_name(const std::string& table_path, const std::string& text) {
  const NamePair parts = split_at_semicolon(text);
  IndexName name{VQ_KIND_NDX, parts.first, parts.second};
  if (!name.tag.empty()) name.kind = VQ_KIND_MDX;
  name.path = with_extension(name.path, name.kind == VQ_KIND_MDX ? "mdx" : "ndx");
  name.kind = index_kind_of(name.path);
  if (folder_of(name.path).empty()) name.path = folder_of(table_path) + name.path;
  if (const auto there = find_file(name.path)) name.path = *there;
  return name;
}

Exit create(const Options& options) {
  const Table table(options.table, options.texts);
  IndexName name = parse_index_name(table.path(), options.index);
  if (name.kind == VQ_KIND_MDX && name.tag.empty()) {
    stop_usage("{}: which tag? {};TAG", options.index, options.index);
  }
  if (name.kind != VQ_KIND_MDX && (!options.filter.empty() || options.descending)) {
    stop_usage("{}: only a tag of an MDX file can have --for or --descending", options.index);
  }
  if (name.kind == VQ_KIND_NDX && options.dbase3) name.kind = VQ_KIND_NDX3;
  if (!can_list(table.path(), {name.kind, name.path, true})) {
    stop_usage("{}: a table's list of indexes takes no name with blanks or =", name.path);
  }
  const bool was_there = find_file(name.path).has_value();
  if (name.kind != VQ_KIND_MDX && was_there) {
    stop_usage("{} is there already (index drop removes it)", name.path);
  }
  Change change(options.table, options.indexes);
  change.leave_locks_to_library();
  Progress progress("indexing");
  {
    const Progress::Watch watch(change.block(), progress);
    const std::string key = table.encode(options.key);
    const std::string filter = table.encode(options.filter);
    const int32_t result = DBindex(
        change.database(), name.kind, name.path.c_str(),
        name.tag.empty() ? nullptr : name.tag.c_str(), key.c_str(),
        filter.empty() ? nullptr : filter.c_str(),
        (options.unique ? VQ_BUILD_UNIQUE : 0) | (options.descending ? VQ_BUILD_DESCENDING : 0));
    require(change.block(), result, options.key);
  }
  change.commit();
  // As it is now: others may have added to it.
  const TableLock lock(table.path(), table.header());
  std::vector<IndexFile> group = index_group_of(table.path(), table.header(), options.indexes);
  const std::string path = find_file(name.path).value_or(name.path);
  if (std::ranges::none_of(
          group, [&](const IndexFile& file) { return equal_ignoring_case(file.path, path); })) {
    group.push_back({name.kind, path, true});
  }
  write_index_list(table.path(), group);
  fmt::print("{}{}{}: {}\n", path, name.tag.empty() ? "" : ";", name.tag, options.key);
  return Exit::done;
}

Exit list(const Options& options) {
  const Table table(options.table, options.texts);
  bool failed = false;
  for (const IndexFile& file : index_group_of(table.path(), table.header(), options.indexes)) {
    if (!file.is_there) {
      fmt::print("{}  missing\n", file.path);
      failed = true;
      continue;
    }
    for (const IndexFacts& facts : index_facts(table, file)) {
      fmt::print("{}{}{}  {}{}{}{}  ({}, {} bytes)\n", file.path, facts.tag.empty() ? "" : ";",
                 facts.tag, one_line(facts.key),
                 facts.filter.empty() ? "" : "  for " + one_line(facts.filter),
                 facts.unique ? "  unique" : "", facts.descending ? "  descending" : "",
                 facts.key_type, facts.key_length);
    }
  }
  return failed ? Exit::no : Exit::done;
}

Exit drop(const Options& options) {
  const Table table(options.table, options.texts);
  const IndexName name = parse_index_name(table.path(), options.index);
  if (!find_file(name.path)) stop_failed("{}: there is no such index file", name.path);
  { const Change change(options.table, {}); }  // all of it is there, and nobody at work
  const TableLock lock(table.path(), table.header());
  if (!name.tag.empty()) {
    drop_tag(table, name.path, name.tag);
  } else {
    if (std::remove(name.path.c_str()) != 0) stop_failed("{}: cannot be removed", name.path);
    std::vector<IndexFile> group = index_group_of(table.path(), table.header(), {});
    std::erase_if(group,
                  [&](const IndexFile& file) { return equal_ignoring_case(file.path, name.path); });
    if (name.kind == VQ_KIND_MDX) {
      require(table.block(), dDapart(&table.block(), table.path().c_str()), table.path());
    }
    write_index_list(table.path(), group);
  }
  fmt::print("{}{}{}: dropped\n", name.path, name.tag.empty() ? "" : ";", name.tag);
  return Exit::done;
}

Exit rebuild(const Options& options) {
  Change change(options.table, options.indexes);
  change.leave_locks_to_library();
  Progress progress("indexing");
  {
    const Progress::Watch watch(change.block(), progress);
    require(change.block(), DBreindex(change.database()), change.path());
  }
  change.commit();
  fmt::print("{}: {} index {} rebuilt\n", change.path(), change.group().size(),
             change.group().size() == 1 ? "file" : "files");
  return Exit::done;
}

void add_create_part(CommandLine& parent) {
  auto options = std::make_shared<Options>();
  CommandLine command = parent.command("create", "Make an index", options, create);
  command.required("TABLE", options->table, "The table");
  command.required("INDEX[;TAG]", options->index, "The index file, or a tag of an MDX file");
  command.required("EXPR", options->key, "The key");
  command.option("--for", options->filter, "EXPR", "Only records for which this is true (MDX)");
  command.flag("--unique", options->unique, "The first record of each key only");
  command.flag("--descending", options->descending, "From the last key to the first (MDX)");
  command.flag("--dbase3", options->dbase3, "An NDX file in the form of dBASE III");
  add_index_option(command, options->indexes);
  add_text_options(command, options->texts);
  command.footer(
      "Examples:\n"
      "  vqdb index create towns byname 'UPPER(NAME)'\n"
      "  vqdb index create towns 'towns.mdx;people' PEOPLE --descending --for 'PEOPLE > 0'");
}

void add_others(CommandLine& parent) {
  struct Part {
    const char* name;
    const char* summary;
    Exit (*run)(const Options&);
    const char* footer;
  };
  static constexpr Part kParts[] = {
      {"list", "Tell the indexes of a table", list,
       "Exit code 1: an index file is missing.\n\nExamples:\n  vqdb index list towns"},
      {"drop", "Remove an index", drop,
       "Examples:\n  vqdb index drop towns byname\n  vqdb index drop towns 'towns.mdx;people'"},
      {"rebuild", "Make every index of a table again", rebuild,
       "Examples:\n  vqdb index rebuild towns"},
  };
  for (const Part& part : kParts) {
    auto options = std::make_shared<Options>();
    CommandLine command = parent.command(part.name, part.summary, options, part.run);
    command.required("TABLE", options->table, "The table");
    if (part.run == drop) {
      command.required("INDEX[;TAG]", options->index, "The index file, or a tag of an MDX file");
    } else {
      add_index_option(command, options->indexes);
    }
    command.footer(part.footer);
  }
}

}  // namespace

void add_index(CommandLine& commands) {
  CommandLine parent = commands.group("index", "Make, tell, drop and rebuild indexes");
  parent.footer(
      "The indexes of a table are those of its index list, the MDX file of its name, and what\n"
      "--index names besides.\n\n"
      "Examples:\n"
      "  vqdb index create towns byname 'UPPER(NAME)'\n"
      "  vqdb index list towns");
  add_create_part(parent);
  add_others(parent);
}

}  // namespace tool
