#include "index/open/key_place.h"

#include <algorithm>

#include "index/open/key_position.h"

namespace vqdb::index {
namespace {

// Whether the tree in memory may be searched as it is.
bool may_be_searched(const KeyPlace& place) {
  if (!place.index->has_keys()) return false;
  KeyTree& keys = place.index->key_tree();
  return keys.file.is_entered() && ok(keys.store.prepare()) && !keys.gone &&
         has_place(keys, place.key);
}

void find_group(std::span<KeyPlace> places) {
  std::array<Tree::Search, Tree::kGroup> searches;
  std::array<KeyPlace*, Tree::kGroup> sought;
  std::size_t count = 0;
  for (KeyPlace& place : places) {
    if (!may_be_searched(place)) continue;
    searches[count].tree = &place.index->key_tree().tree;
    searches[count].key = static_cast<const Byte*>(place.key);
    sought[count++] = &place;
  }
  if (count == 0 || !ok(Tree::find_together(std::span(searches).first(count)))) return;
  for (std::size_t i = 0; i < count; ++i) {
    sought[i]->path = searches[i].path;
    sought[i]->changes = sought[i]->index->key_tree().changes;
    sought[i]->is_found = true;
  }
}

}  // namespace

void find_places(std::span<KeyPlace> places) {
  if (places.empty()) return;
  VqBlock& block = *places.front().index->block;
  const std::int32_t detail = block.detail;
  while (!places.empty()) {
    const std::size_t group = std::min<std::size_t>(places.size(), Tree::kGroup);
    find_group(places.first(group));
    places = places.subspan(group);
  }
  block.detail = detail;
}

Result put_key_at(const KeyPlace& place, std::uint32_t recno, bool bracketed) {
  KeyTree& keys = place.index->key_tree();
  const bool holds = place.is_found && place.changes == keys.changes;
  return put_key(keys, place.key, recno, bracketed, holds ? &place.path : nullptr);
}

}  // namespace vqdb::index
