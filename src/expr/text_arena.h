// Memory for the long texts of one run, all given back at once when the next run begins. It keeps
// its largest block, so that a program that runs again and again stops allocating.
#ifndef VQDBSYS_EXPR_TEXT_ARENA_H_
#define VQDBSYS_EXPR_TEXT_ARENA_H_

#include <cstddef>

namespace vqdb::expr {

class TextArena {
 public:
  TextArena() = default;
  ~TextArena();
  TextArena(const TextArena&) = delete;
  TextArena& operator=(const TextArena&) = delete;

  // Null without memory.
  char* allocate(std::size_t size);
  // Ends the life of every text.
  void clear() {
    if (newest_ != nullptr) clear_blocks();
  }

 private:
  struct Block {
    Block* older;
    std::size_t size;
    std::size_t used;

    char* bytes() { return reinterpret_cast<char*>(this + 1); }
  };

  void clear_blocks();
  bool grow(std::size_t size);

  Block* newest_ = nullptr;
};

}  // namespace vqdb::expr

#endif  // VQDBSYS_EXPR_TEXT_ARENA_H_
