#include "expr/text_arena.h"

#include <algorithm>
#include <new>

#include "platform/memory.h"

namespace vqdb::expr {

namespace {

constexpr std::size_t kFirstBlock = 1024;

}  // namespace

TextArena::~TextArena() {
  while (newest_ != nullptr) {
    Block* older = newest_->older;
    platform::release(newest_);
    newest_ = older;
  }
}

char* TextArena::allocate(std::size_t size) {
  if ((newest_ == nullptr || newest_->size - newest_->used < size) && !grow(size)) return nullptr;
  char* place = newest_->bytes() + newest_->used;
  newest_->used += size;
  return place;
}

bool TextArena::grow(std::size_t size) {
  const std::size_t doubled = newest_ == nullptr ? kFirstBlock : newest_->size * 2;
  const std::size_t capacity = std::max(doubled, size);
  void* memory = platform::allocate(sizeof(Block) + capacity);
  if (memory == nullptr) return false;
  newest_ = ::new (memory) Block{newest_, capacity, 0};
  return true;
}

void TextArena::clear_blocks() {
  while (newest_->older != nullptr) {
    Block* older = newest_->older;
    newest_->older = older->older;
    platform::release(older);
  }
  newest_->used = 0;
}

}  // namespace vqdb::expr
