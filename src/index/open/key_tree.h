// The keys of an open index, the file's only ones or a tag's: searched, stepped through and
// changed. A key is key_length() bytes.
//
// The position after a change of this handle: an inserted entry is the current one; where an entry
// was removed, the next key is the one that followed it, the previous key the one before it, and
// there is no current key. A search that finds no equal key leaves no current key either, and
// stepping goes on from the entry whose record it delivered.
#ifndef VQDBSYS_INDEX_OPEN_KEY_TREE_H_
#define VQDBSYS_INDEX_OPEN_KEY_TREE_H_

#include <cstdint>

#include "frame/result.h"
#include "index/open/index_file.h"
#include "index/tree/tree.h"
#include "platform/memory.h"

namespace vqdb::index {

enum class PositionState : std::uint16_t {
  positioned = 0,
  unset = 65533,  // after open, and after a search that found nothing
  end = 65534,    // past the last key
  start = 65535,  // before the first key
};

// The position. Stepping goes on from the anchor; the path to it is a hint that holds as long as
// the tree does not change, and is found again from key and record number. Others may remove the
// anchor's entry from a shared file: then its neighbours, as its leaf had them, tell its place
// among equal keys, which keep their order.
struct Cursor {
  enum class Anchor : std::uint8_t {
    none,  // stepping starts at either end
    start,
    end,
    entry,  // at the entry with key and recno
    gap,    // before that entry: where one was removed
  };

  PositionState state = PositionState::unset;
  Anchor anchor = Anchor::none;
  bool path_holds = false;
  std::uint32_t recno = 0;
  std::int64_t leaves_passed = 0;  // forward less backward, since the last search
  platform::Bytes key;
  platform::Bytes leaf;  // shared files only
  std::uint32_t leaf_slot = 0;
  PageNumber leaf_page = 0;
  bool leaf_holds = false;
  platform::Bytes passed;  // the leaf that stepping came from
  bool passed_holds = false;
  bool passed_is_before = false;  // the other one
  Path path;
};

// The operations of an index kind, for their detail codes.
struct KeyOperations {
  Operation put;
  Operation remove;
  Operation update;
  Operation find;
  Operation current;
  Operation next;
  Operation previous;
};

class KeyTree {
 public:
  KeyTree(IndexFile& index_file, const KeyOperations& numbers)
      : KeyTree(index_file, index_file, numbers) {}
  // A tree among several of its file takes its pages through a store of its own.
  KeyTree(IndexFile& index_file, PageStore& page_store, const KeyOperations& numbers)
      : file(index_file),
        store(page_store),
        operations(numbers),
        tree(index_file.block, index_file.cache, page_store) {}

  // False without memory. REQUIRES a file that is attached.
  bool set_up(const PageLayout& layout, const KeyOrder& order, char type, bool is_unique) {
    tree.set_shape(layout, order);
    key_type = type;
    unique = is_unique;
    cursor.key = platform::allocate_bytes(layout.key_length);
    if (cursor.key == nullptr || !file.is_shared()) return cursor.key != nullptr;
    cursor.leaf = platform::allocate_bytes(layout.page_bytes);
    cursor.passed = platform::allocate_bytes(layout.page_bytes);
    return cursor.leaf != nullptr && cursor.passed != nullptr;
  }
  std::size_t key_length() const { return tree.layout().key_length; }

  IndexFile& file;
  PageStore& store;
  const KeyOperations& operations;
  char key_type = 0;
  bool unique = false;
  bool gone = false;          // the file has no such tag: every operation is -10
  std::uint32_t changes = 0;  // keys inserted and removed
  Cursor cursor;
  Tree tree;
};

// Text keys that stand in the order of the other language, by what their root page shows, are
// refused: -9 with this detail code. A root that cannot be read tells nothing.
Result check_language(KeyTree& keys, bool descending, std::int32_t detail);

// Digits of the operation's details: 2 (no key, a number that is none, or record number 0), 3
// (read-only), 4 (put: a unique index holds the key, which is Result::duplicate_key; remove,
// update: no such entry, -5; for update 5 is the duplicate). A change runs inside a bracket of its
// own, or, without `bracketed`, inside the caller's; outside any a shared file refuses it (-35,
// digit 6). Where the key belongs need not be looked for where the caller knows the place.
Result put_key(KeyTree& keys, const void* key, std::uint32_t recno, bool bracketed = true,
               const Path* place = nullptr);
Result remove_key(KeyTree& keys, const void* key, std::uint32_t recno, bool bracketed = true);
// The new key goes in before the old one goes out; where the old one is missing nothing goes in.
Result update_key(KeyTree& keys, const void* old_key, const void* new_key, std::uint32_t recno,
                  bool bracketed = true);
// Whether the entry with exactly this key and record number is there. The position stays.
Result holds_entry(KeyTree& keys, const void* key, std::uint32_t recno, bool& holds);

// The first entry with the key. Without one -5, with the record number of the first entry above
// the key, or 0 where there is none above it.
Result find_record(KeyTree& keys, const void* key, std::uint32_t* recno);
// The first entry with each of the keys, which follow one another: its record number, or 0 where
// there is none, and how many there are. The position is then the last key's.
Result find_records(KeyTree& keys, const void* wanted, std::uint32_t count, std::uint32_t* recnos,
                    std::uint32_t& found);
// Null out arguments are not written.
Result next_key(KeyTree& keys, void* key, std::uint32_t* recno);
Result previous_key(KeyTree& keys, void* key, std::uint32_t* recno);
// The next entries, up to `count`, their keys one behind the other. Stops at the first step that
// fails; got is how many there were.
Result next_keys(KeyTree& keys, std::uint32_t count, void* key, std::uint32_t* recnos,
                 std::uint32_t& got);
Result current_key(KeyTree& keys, void* key, std::uint32_t* recno);
void rewind(KeyTree& keys);
void forward(KeyTree& keys);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_KEY_TREE_H_
