#include "index/open/key_position.h"

namespace vqdb::index {
namespace {

constexpr Operation kPosition{1025};

// A run of equal keys, searched leaf by leaf from both ends: records are mostly removed in the
// order in which they came, or against it.
class EqualRun {
 public:
  EqualRun(KeyTree& keys, const Byte* key, std::uint32_t recno)
      : keys_(keys), key_(key), recno_(recno) {}

  Result search(Path& path, bool& found);

 private:
  enum class Progress : std::uint8_t { goes_on, ended, found };

  bool met() const {
    return has_back_ && front_.leaf().page == back_.leaf().page &&
           front_.leaf().slot == back_.leaf().slot;
  }
  // Looks at the rest of the leaf that the side has come to, and moves on to the next one.
  Result scan_leaf(Path& side, Result (Tree::*move)(Path&, bool&), Progress& progress);

  KeyTree& keys_;
  const Byte* key_;
  std::uint32_t recno_;
  Path front_;
  Path back_;
  bool has_back_ = false;
};

Result EqualRun::scan_leaf(Path& side, Result (Tree::*move)(Path&, bool&), Progress& progress) {
  const PageNumber leaf = side.leaf().page;
  while (side.leaf().page == leaf) {
    Entry entry{};
    if (const Result result = keys_.tree.entry_at(side, entry); !ok(result)) return result;
    progress = Progress::ended;
    if (compare(keys_, entry.key, key_) != 0) return Result::ok;
    if (entry.recno == recno_) {
      progress = Progress::found;
      return Result::ok;
    }
    if (met()) return Result::ok;
    bool more = false;
    if (const Result result = (keys_.tree.*move)(side, more); !ok(result) || !more) return result;
    progress = Progress::goes_on;
  }
  return Result::ok;
}

Result EqualRun::search(Path& path, bool& found) {
  found = false;
  bool any = false;
  if (const Result result = keys_.tree.find(key_, front_); !ok(result)) return result;
  if (const Result result = keys_.tree.step_to_entry(front_, any); !ok(result) || !any) {
    return result;
  }
  for (PageNumber leaves = 0; leaves <= keys_.file.cache.limit(); ++leaves) {
    const bool from_back = leaves % 2 != 0;
    if (from_back && !has_back_) {
      if (const Result result = keys_.tree.find_last(key_, back_, has_back_);
          !ok(result) || !has_back_) {
        return result;
      }
    }
    Path& side = from_back ? back_ : front_;
    Progress progress = Progress::ended;
    const Result result = scan_leaf(side, from_back ? &Tree::previous : &Tree::next, progress);
    if (!ok(result) || progress == Progress::ended) return result;
    if (progress == Progress::goes_on) continue;
    path = side;
    found = true;
    return Result::ok;
  }
  return fail(keys_.file.block, Result::page_error, kPosition.detail(1));
}

}  // namespace

Result find_entry(KeyTree& keys, const Byte* key, std::uint32_t recno, Path& path, bool& found) {
  const Cursor& cursor = keys.cursor;
  if (cursor.anchor == Cursor::Anchor::entry && cursor.path_holds && cursor.recno == recno &&
      std::memcmp(cursor.key.get(), key, keys.key_length()) == 0) {
    path = cursor.path;
    return keys.tree.leads_to(path, key, recno, found);
  }
  return EqualRun(keys, key, recno).search(path, found);
}

Result locate(KeyTree& keys, bool& at_entry) {
  Cursor& cursor = keys.cursor;
  const Byte* const key = cursor.key.get();
  if (cursor.path_holds) {
    at_entry = true;
    if (!keys.file.is_shared()) return Result::ok;
    const Result result = keys.tree.leads_to(cursor.path, key, cursor.recno, at_entry);
    if (!ok(result) || at_entry) return result;
    cursor.path_holds = false;
  }
  const Result result = find_entry(keys, key, cursor.recno, cursor.path, at_entry);
  if (!ok(result)) return result;
  cursor.path_holds = at_entry;
  return at_entry ? Result::ok : keys.tree.find(key, cursor.path);
}

}  // namespace vqdb::index
