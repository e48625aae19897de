#include "index_group.h"

#include <algorithm>
#include <array>
#include <fstream>

#include "file_names.h"
#include "stop.h"
#include "warnings.h"

namespace tool {
namespace {

constexpr std::uint32_t kMdx = 16;
constexpr std::uint32_t kNdx = 64;
constexpr std::uint32_t kReadOnlyShared = 1 | 4;
constexpr int32_t kUniqueFlag = 4096;

struct Kind {
  std::string_view keyword;
  std::uint32_t code;
  std::string_view extension;
};
constexpr std::array<Kind, 6> kKinds = {{{"MDX", kMdx, "mdx"},
                                         {"NDX", kNdx, "ndx"},
                                         {"NDX3", 128, "ndx"},
                                         {"FOXIDX", 256, "idx"},
                                         {"FOXCDX", 512, "cdx"},
                                         {"CLIPNTX", 1024, "ntx"}}};

// A name in an index list may be meant from the working folder or from the table's.
IndexFile locate(const std::string& table_path, const Kind& kind, const std::string& name) {
  const std::string file = with_extension(split_at_semicolon(name).first, kind.extension);
  const std::string folder = folder_of(table_path);
  for (const std::string& candidate :
       {folder + file, file, folder + file.substr(folder_of(file).size())}) {
    if (const auto path = find_file(candidate)) return {kind.code, *path, true};
  }
  return {kind.code, folder + file, false};
}

void add(std::vector<IndexFile>& group, IndexFile file) {
  const bool known = std::ranges::any_of(
      group, [&](const IndexFile& other) { return equal_ignoring_case(other.path, file.path); });
  if (!known) group.push_back(std::move(file));
}

void add_index_list(std::vector<IndexFile>& group, const std::string& table_path) {
  const auto path = find_file(replace_extension(table_path, "dd"));
  if (!path) return;
  std::ifstream file(*path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (line.empty()) continue;
    const std::size_t equals = line.find('=');
    std::string keyword = line.substr(0, equals);
    std::erase(keyword, ' ');
    const auto* const kind = std::ranges::find_if(
        kKinds, [&](const Kind& k) { return equal_ignoring_case(k.keyword, keyword); });
    if (equals == std::string::npos || kind == kKinds.end()) {
      print_warning(fmt::format("{}: a line that names no index: {}", *path, line));
      continue;
    }
    std::string name = line.substr(equals + 1);
    name.erase(0, std::min(name.find_first_not_of(' '), name.size()));
    add(group, locate(table_path, *kind, name));
  }
}

IndexFacts facts_of_ndx(const Table& table, const std::string& path) {
  VqIndex* const index = dNopen(table.handle(), path.c_str(), kReadOnlyShared, 4);
  if (index == nullptr) stop_unopened(table.block(), path);
  std::array<char, 512> text = {};
  int32_t flags = 0;
  const int32_t result = dNexpr(index, text.data(), text.size(), &flags);
  IndexFacts facts;
  facts.key = text.data();
  facts.unique = (flags & kUniqueFlag) != 0;
  facts.key_type = static_cast<char>(dNkeytyp(index));
  facts.key_length = static_cast<std::uint32_t>(dNkeylen(index));
  dNclose(index);
  require(table.block(), result, path);
  return facts;
}

}  // namespace

std::uint32_t index_kind_of(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  const std::string_view extension = dot == std::string_view::npos ? "" : path.substr(dot + 1);
  const auto* const kind = std::ranges::find_if(
      kKinds, [&](const Kind& k) { return equal_ignoring_case(k.extension, extension); });
  return kind != kKinds.end() ? kind->code : kNdx;
}

std::string_view keyword_of(std::uint32_t kind) {
  const auto* const found = std::ranges::find(kKinds, kind, &Kind::code);
  return found != kKinds.end() ? found->keyword : "?";
}

std::vector<IndexFile> index_group_of(const std::string& table_path, const Header& header,
                                      const std::vector<std::string>& besides) {
  std::vector<IndexFile> group;
  add_index_list(group, table_path);
  const std::string production = replace_extension(table_path, "mdx");
  const auto mdx = find_file(production);
  if (mdx || header.production != 0) {
    add(group, {kMdx, mdx.value_or(production), mdx.has_value()});
  }
  for (const std::string& name : besides) {
    const std::uint32_t code = index_kind_of(name);
    const IndexFile file = locate(table_path, *std::ranges::find(kKinds, code, &Kind::code), name);
    if (!file.is_there) stop_failed("{}: there is no such index file", file.path);
    add(group, file);
  }
  return group;
}

std::vector<IndexFacts> index_facts(const Table& table, const IndexFile& file) {
  if (file.kind == kNdx || file.kind == 128) return {facts_of_ndx(table, file.path)};
  stop_failed("{}: indexes of kind {} are not read", file.path, keyword_of(file.kind));
}

void copy_index_file(VqBlock& block, const IndexFile& file, const std::string& to) {
  if (file.kind != kNdx && file.kind != 128) {
    stop_failed("{}: indexes of kind {} are not copied", file.path, keyword_of(file.kind));
  }
  require(block, dNcopy(&block, file.path.c_str(), to.c_str()), file.path);
}

void drop_tag(const Table&, const std::string& path, const std::string& tag) {
  stop_failed("{};{}: tags are not dropped", path, tag);
}

}  // namespace tool
