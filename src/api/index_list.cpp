#include "api/index_list.h"

#include <array>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "api/index_kinds.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "frame/wait.h"
#include "platform/file.h"
#include "platform/path.h"

namespace vqdb::api {
namespace {

constexpr Operation kUse{630};
constexpr Operation kParse{631};
constexpr std::size_t kTokensPerLine = 3;
constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kMark = "PACKING\r\n";
// What ends a word of a line, or the line.
constexpr std::string_view kWordEnds = " \t=\r\n";

// The table's own extension gives way: a list named like the table would overwrite it.
std::string list_path(const char* table_name) {
  return platform::resolve(replace_extension(table_name, "DD"));
}

constexpr std::uint64_t kLongestList = 1 << 20;
// Locked by whoever changes the list, for the blink of an eye.
constexpr std::uint64_t kHoldByte = std::uint64_t{1} << 62;
constexpr std::uint32_t kPatience = 1000;  // milliseconds

bool begins_with(const std::string& path, std::string_view text) {
  platform::File file;
  std::string present(text.size(), '\0');
  return file.open(path, platform::Access::read_only).ok() &&
         file.read_exactly(0, present.data(), present.size()).ok() && present == text;
}

// A list, or the place of one, that nobody else changes meanwhile.
class HeldList {
 public:
  enum class Change : std::uint8_t {
    done,
    not_made,     // nothing came of it
    not_written,  // there was no room for it
    overtaken,    // by somebody else who makes, or reads, a list there
  };

  explicit HeldList(const char* table_name) : path_(list_path(table_name)) {}

  // What the list says, nothing without one. False for a list that cannot be read, or that somebody
  // else does not let go.
  bool take(std::string& text);
  // Replaces the list, or removes it for an empty text. It is let go.
  Change put(std::string_view text);

 private:
  Change remove();
  void let_go() { (void)file_.close(); }

  const std::string path_;
  platform::File file_;  // not open: there is no list
  std::string text_;
};

bool HeldList::take(std::string& text) {
  Wait wait(kPatience);
  do {
    const platform::Outcome opened = file_.open(path_, platform::Access::read_write_or_read);
    if (opened.error == platform::Error::not_found) return true;
    if (!opened.ok()) return false;
    const platform::Outcome locked = file_.lock(kHoldByte, 1);
    if (locked.error != platform::Error::lock_refused && file_.is_at(path_)) {
      std::uint64_t size = 0;
      if (!file_.size(size).ok() || size > kLongestList) return false;
      text.resize(static_cast<std::size_t>(size));
      const bool read = file_.read_exactly(0, text.data(), text.size()).ok();
      text_ = text;
      return read;
    }
    let_go();
  } while (wait.goes_on());
  return false;
}

HeldList::Change HeldList::put(std::string_view text) {
  if (text.empty()) return remove();
  if (file_.is_open() && text == text_) return Change::done;
  TemporaryFile fresh;
  if (!fresh.make_beside(path_).ok()) return Change::not_made;
  if (!fresh.file().write_at(0, text.data(), text.size()).ok()) return Change::not_written;
  const bool is_first = !file_.is_open();
  if constexpr (!platform::kReplacesOpenFiles) let_go();
  const platform::Outcome placed =
      is_first ? fresh.put_if_absent() : fresh.put_in_place(nullptr, platform::Replaced::kept);
  const bool is_overtaken =
      placed.error == platform::Error::already_exists ||
      (!platform::kReplacesOpenFiles && placed.error == platform::Error::access_denied);
  if (is_overtaken) return Change::overtaken;
  return placed.ok() ? Change::done : Change::not_made;
}

HeldList::Change HeldList::remove() {
  const bool is_there = file_.is_open();
  if constexpr (!platform::kReplacesOpenFiles) let_go();
  return !is_there || platform::remove(path_).ok() ? Change::done : Change::not_made;
}

// Makes of the list's text what edit(text) makes of it. Where that gives false nothing changes.
template <typename Edit>
HeldList::Change change(const char* table_name, Edit edit) {
  Wait wait(kPatience);
  do {
    HeldList list(table_name);
    std::string text;
    if (!list.take(text) || !edit(text)) return HeldList::Change::not_made;
    const HeldList::Change put = list.put(text);
    if (put != HeldList::Change::overtaken) return put;
  } while (wait.goes_on());
  return HeldList::Change::not_made;
}

template <typename Edit>
HeldList::Change change_unmarked(const char* table_name, Edit edit) {
  return change(table_name,
                [&](std::string& text) { return !text.starts_with(kMark) && edit(text); });
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Reads a whole list file.
Result read_text(VqBlock& block, platform::File& file, platform::Bytes& bytes,
                 std::string_view& text) {
  std::uint64_t size = 0;
  if (!file.size(size).ok() || size < 1) return fail(block, Result::bad_format, kUse.detail(3));
  if (size <= std::numeric_limits<std::int32_t>::max()) {
    bytes = platform::allocate_bytes(static_cast<std::size_t>(size));
  }
  if (bytes == nullptr) return fail(block, Result::no_memory, kUse.detail(4));
  const auto length = static_cast<std::size_t>(size);
  if (!file.read_exactly(0, bytes.get(), length).ok()) {
    return fail(block, Result::io, kUse.detail(5));
  }
  text = std::string_view(reinterpret_cast<const char*>(bytes.get()), length);
  text = text.substr(0, text.find('\0'));
  return Result::ok;
}

// The description that a line makes; a line of blanks makes none.
Result read_line(VqBlock& block, std::string_view line, std::span<Token> tokens,
                 ListedIndexes& indexes) {
  std::size_t read = 0;
  if (!ok(parse_tokens(block, line, kTokensPerLine, tokens, read))) return Result::bad_format;
  if (read == 0) return Result::ok;
  const IndexKind* kind = kind_of_token(tokens[0].code);
  if (kind == nullptr || tokens[1].code != kEqualsToken || tokens[2].code != kNameToken) {
    return fail(block, Result::bad_format, kUse.detail(7));
  }
  VqIndexSpec* const before = indexes.empty() ? nullptr : &indexes.back().spec;
  if (!has_memory([&] { indexes.emplace_back().name.swap(tokens[2].text); })) {
    return fail(block, Result::no_memory, kUse.detail(8));
  }
  ListedIndex& index = indexes.back();
  index.spec = {kind->code, index.name.c_str(), block.index_open_parameter, nullptr};
  if (before != nullptr) before->next = &index.spec;
  return Result::ok;
}

}  // namespace

VqIndexSpec* SpecWalk::next() {
  if (at_ == nullptr || left_ < 1) return nullptr;
  VqIndexSpec* const spec = at_;
  --left_;
  at_ = chained_ ? spec->next : spec + 1;
  return spec;
}

bool is_listable(std::string_view name) {
  return !name.empty() && name.find_first_of(kWordEnds) == std::string_view::npos &&
         kind_of_keyword(name) == nullptr;
}

bool add_line(std::string& list, std::uint32_t kind, std::string_view name) {
  const IndexKind* const listed = listed_kind(kind);
  if (listed == nullptr) return true;
  if (!is_listable(name)) return false;
  list.append(listed->keyword).append("=").append(name).append(kLineEnd);
  return true;
}

void write_index_list(const char* table_name, std::string_view text) {
  const auto become = [&](std::string_view wanted) {
    return change_unmarked(table_name, [&](std::string& present) {
      present = wanted;
      return true;
    });
  };
  if (become(text) == HeldList::Change::not_written) (void)become({});
}

bool edit_index_list(const char* table_name, const std::function<bool(std::string& text)>& edit) {
  return change_unmarked(table_name, edit) == HeldList::Change::done;
}

bool is_marked(const char* table_name) { return begins_with(list_path(table_name), kMark); }

bool mark_index_list(const char* table_name, bool marked) {
  return change(table_name, [&](std::string& text) {
           if (text.starts_with(kMark)) text.erase(0, kMark.size());
           if (marked) text.insert(0, kMark);
           return true;
         }) == HeldList::Change::done;
}

Result parse_tokens(VqBlock& block, std::string_view line, std::size_t least,
                    std::span<Token> tokens, std::size_t& read) {
  for (read = 0; read < tokens.size(); ++read) {
    while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
    if (line.empty()) {
      if (read == 0 || read > least) return Result::ok;
      return fail(block, Result::too_few, kParse.detail(1));
    }
    Token& token = tokens[read];
    token.text.clear();
    if (line.front() == '=') {
      token.code = kEqualsToken;
      line.remove_prefix(1);
      continue;
    }
    const std::string_view word = line.substr(0, line.find_first_of(kWordEnds));
    line.remove_prefix(word.size());
    if (const IndexKind* kind = kind_of_keyword(word)) {
      token.code = kind->token;
      continue;
    }
    token.code = kNameToken;
    if (!has_memory([&] { token.text.assign(word); })) {
      return fail(block, Result::no_memory, kParse.detail(2));
    }
  }
  return Result::ok;
}

Result parse_index_list(VqBlock& block, std::string_view text, ListedIndexes& indexes) {
  std::vector<Token, PlatformAllocator<Token>> tokens;
  if (!has_memory([&] { tokens.resize(kTokensPerLine); })) {
    return fail(block, Result::no_memory, kUse.detail(6));
  }
  while (!text.empty()) {
    const std::size_t end = text.find_first_of(kLineEnds);
    if (end == std::string_view::npos) break;
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    if (line.empty()) continue;
    const std::size_t before = indexes.size();
    if (const Result result = read_line(block, line, tokens, indexes); !ok(result)) return result;
    // Behind an index the text up to the next line end is taken for the rest of the CR LF; with
    // bare LF endings that swallows the line which follows.
    if (indexes.size() > before)
      text.remove_prefix(std::min(text.find_first_of(kLineEnds), text.size()));
  }
  return Result::ok;
}

Result read_index_list(VqBlock& block, const char* table_name, ListedIndexes& indexes) {
  Text path;
  if (!has_memory([&] { path.assign(list_path(table_name)); })) {
    return fail(block, Result::no_memory, kUse.detail(1));
  }
  platform::File file;
  const platform::Outcome opened = file.open(path.c_str(), platform::Access::read_only);
  if (opened.error == platform::Error::not_found) return Result::ok;
  if (!opened.ok()) return fail(block, open_result(opened.error), kUse.detail(2));
  platform::Bytes bytes;
  std::string_view text;
  if (const Result result = read_text(block, file, bytes, text); !ok(result)) return result;
  (void)file.close();
  if (text.starts_with(kMark)) text.remove_prefix(kMark.size());
  return parse_index_list(block, text, indexes);
}

}  // namespace vqdb::api
