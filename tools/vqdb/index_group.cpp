#include "index_group.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>

#include "file_names.h"
#include "stop.h"
#include "warnings.h"

namespace tool {
namespace {

constexpr std::uint32_t kReadOnlyShared = VQ_OPEN_READ_ONLY | VQ_OPEN_SHARED_CACHED;
constexpr int32_t kDescendingFlag = 8;
constexpr std::size_t kTagEntryBytes = 19;
constexpr std::size_t kTagNameOffset = 4;
constexpr std::size_t kMostTags = 47;  // of an MDX file
constexpr int32_t kUniqueFlag = 4096;

struct Kind {
  std::string_view keyword;
  std::uint32_t code;
  std::string_view extension;
};
constexpr std::array<Kind, 6> kKinds = {{{"MDX", VQ_KIND_MDX, "mdx"},
                                         {"NDX", VQ_KIND_NDX, "ndx"},
                                         {"NDX3", VQ_KIND_NDX3, "ndx"},
                                         {"FOXIDX", VQ_KIND_FOXIDX, "idx"},
                                         {"FOXCDX", VQ_KIND_FOXCDX, "cdx"},
                                         {"CLIPNTX", VQ_KIND_CLIPNTX, "ntx"}}};

// A name in an index list may be meant from the working folder or from the table's.
IndexFile locate(const std::string& table_path, const Kind& kind, const std::string& name) {
  const std::string file = with_extension(split_at_semicolon(name).first, to_upper(kind.extension));
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
    if (line == kPackMark) {
      print_warning(
          fmt::format("{}: a pack has not come to its end; vqdb pack finishes it", table_path));
      continue;
    }
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

IndexFacts facts_of_tag(const Table& table, VqIndex* file, const std::string& name) {
  VqIndex* const tag = dXactidx(file, name.c_str());
  if (tag == nullptr) stop_unopened(table.block(), name);
  std::array<char, 512> text = {};
  int32_t flags = 0;
  const int32_t result = dXexpr(tag, text.data(), text.size(), &flags);
  IndexFacts facts{
      .tag = name, .key = text.data(), .filter = text.data() + std::strlen(text.data()) + 1};
  facts.unique = (flags & kUniqueFlag) != 0;
  facts.descending = (flags & kDescendingFlag) != 0;
  facts.key_type = static_cast<char>(dXkeytyp(tag));
  facts.key_length = static_cast<std::uint32_t>(dXkeylen(tag));
  dXdeaidx(tag);
  require(table.block(), result, name);
  return facts;
}

// Closes an MDX file on every way out.
class MdxFile {
 public:
  MdxFile(const Table& table, const std::string& path, std::uint32_t mode)
      : file_(dXopen(table.handle(), path.c_str(), mode, 4)) {
    if (file_ == nullptr) stop_unopened(table.block(), path);
  }
  ~MdxFile() { dXclose(file_); }
  MdxFile(const MdxFile&) = delete;
  MdxFile& operator=(const MdxFile&) = delete;
  VqIndex* get() const { return file_; }

 private:
  VqIndex* file_;
};

std::vector<IndexFacts> facts_of_mdx(const Table& table, const std::string& path) {
  const MdxFile file(table, path, kReadOnlyShared);
  // Others may add tags at any moment.
  std::vector<char> list((kMostTags + 1) * kTagEntryBytes);
  require(table.block(), dXlistag(file.get(), list.data()), path);
  std::vector<IndexFacts> facts;
  for (const char* name = list.data() + kTagNameOffset; *name != '\0'; name += kTagEntryBytes) {
    facts.push_back(facts_of_tag(table, file.get(), name));
  }
  return facts;
}

}  // namespace

std::uint32_t index_kind_of(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  const std::string_view extension = dot == std::string_view::npos ? "" : path.substr(dot + 1);
  const auto* const kind = std::ranges::find_if(
      kKinds, [&](const Kind& k) { return equal_ignoring_case(k.extension, extension); });
  return kind != kKinds.end() ? kind->code : VQ_KIND_NDX;
}

std::string_view keyword_of(std::uint32_t kind) {
  const auto* const found = std::ranges::find(kKinds, kind, &Kind::code);
  return found != kKinds.end() ? found->keyword : "?";
}

std::string_view extension_of(std::uint32_t kind) {
  const auto* const found = std::ranges::find(kKinds, kind, &Kind::code);
  return found != kKinds.end() ? found->extension : "";
}

bool is_listable(std::string_view name) {
  return !name.empty() && name.find_first_of(" \t=\r\n") == std::string_view::npos &&
         std::ranges::none_of(
             kKinds, [&](const Kind& kind) { return equal_ignoring_case(kind.keyword, name); });
}

std::vector<IndexFile> index_group_of(const std::string& table_path, const Header& header,
                                      const std::vector<std::string>& besides) {
  std::vector<IndexFile> group;
  add_index_list(group, table_path);
  const std::string production = replace_extension(table_path, "mdx");
  const auto mdx = find_file(production);
  if (mdx || header.names_mdx()) {
    add(group, {VQ_KIND_MDX, mdx.value_or(production), mdx.has_value()});
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
  if (file.kind == VQ_KIND_NDX || file.kind == VQ_KIND_NDX3)
    return {facts_of_ndx(table, file.path)};
  if (file.kind == VQ_KIND_MDX) return facts_of_mdx(table, file.path);
  stop_failed("{}: indexes of kind {} are not read", file.path, keyword_of(file.kind));
}

void copy_index_file(VqBlock& block, const IndexFile& file, const std::string& to) {
  const auto copy = file.kind == VQ_KIND_MDX ? dXcopy : dNcopy;
  require(block, copy(&block, file.path.c_str(), to.c_str()), file.path);
}

void drop_tag(const Table& table, const std::string& path, const std::string& tag) {
  const MdxFile file(table, path, VQ_OPEN_SHARED_CACHED);
  require(table.block(), dXdeltag(file.get(), tag.c_str()), path + ";" + tag);
}

}  // namespace tool
