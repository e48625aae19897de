// An open index file of any kind: the system's file, its page cache, and its place among other
// handles and processes. In a shared mode every operation locks the file, brings headers and pages
// up to date, works, and lets go. The headers tell nothing of changes, so what was read before
// counts only where the system tells that nobody has written since; then reading needs no lock
// either. A file has one tree (a single index) or one for each tag.
#ifndef VQDBSYS_INDEX_OPEN_INDEX_FILE_H_
#define VQDBSYS_INDEX_OPEN_INDEX_FILE_H_

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "frame/change_watch.h"
#include "frame/handle_pool.h"
#include "frame/result.h"
#include "index/tree/page_cache.h"
#include "platform/file.h"

namespace vqdb::index {

// What a bracket is for. Those for reading go together.
enum class Purpose : std::uint8_t { reading, changing };

class IndexFile : public PageStore {
 public:
  IndexFile(VqBlock& owner, const PageGrid& grid)
      : block(owner), cache(owner, system_file, *this, grid), watch_(system_file) {}

  // Takes over the file and memory for its pages: false when there is none.
  bool attach(platform::File&& file, std::uint32_t mode, std::uint32_t scheme,
              std::int32_t buffers);

  bool is_shared() const { return (mode & open_mode::kShared) != 0; }
  bool is_read_only() const { return (mode & open_mode::kReadOnly) != 0; }

  // Brackets nest, and cost nothing in an exclusive mode. The outermost enter() waits for the file
  // lock as long as another operation may take, takes it and refreshes; the outermost leave()
  // writes what has changed and lets go. What cannot be written is forgotten, since the file has to
  // agree with the next process that locks it. A lock that the caller has taken stays.
  // REQUIRES that no bracket for changing is inside one for reading.
  Result enter(Purpose purpose);
  Result leave();
  // Whether the work in the last bracket failed because others have changed the file meanwhile:
  // one for reading needs no lock as long as what is in memory suffices. The next one has a lock.
  bool was_overtaken() { return std::exchange(overtaken_, false); }
  // Whether what a bracket without a lock has read is of the time at which it began.
  bool holds_still() override;
  // Whether what is in memory may be worked on now.
  bool is_entered() const { return !is_shared() || brackets_ > 0; }

  // Writes changed pages and headers, to the device when the block asks for that (detail 10194).
  Result flush();
  // Flushes and closes. The first failure counts; that of the closing has the detail code.
  Result close(std::int32_t close_detail);

  // Brings a file whose header has the mark of an unfinished flush to its end, or, when it is open
  // for reading only, shows it so. Where that cannot be told the file can be read, as it is.
  // REQUIRES that nobody else works on the file.
  Result complete(bool unfinished);
  // Refuses a change of such a file: a page error, detail 10344.
  Result check_whole() const;
  // Reads bytes past the buffers.
  platform::Outcome read_past(std::uint64_t offset, std::span<Byte> bytes) {
    return cache.read_past(offset, bytes);
  }

  // The caller's own lock, held until it is given back; it never waits. Digits of the operation's
  // details: 2 (no lock operations), 3 (held by somebody else; for unlock: not held), for unlock 4
  // (system).
  Result lock(Operation operation);
  Result unlock(Operation operation);
  // ok: this handle holds the lock; not_locked: nobody does (digit 3); locked: somebody else does
  // (digit 4).
  Result lock_status(Operation operation);

  VqBlock& block;
  platform::File system_file;
  platform::FileIdentity identity;
  std::uint32_t mode = 0;
  std::uint32_t scheme = 0;  // of the table's locks
  PageCache cache;

 protected:
  ~IndexFile() = default;
  // Brings the headers, the roots of the open trees and the cache's limit up to date with the file,
  // under the lock. A failure leaves the file stale: it is read again before the next operation.
  virtual Result read_headers(bool& unfinished) = 0;

 private:
  // What keeps others from changing the file.
  enum class Lock : std::uint8_t { none, shared, exclusive };

  Result take_hold(Purpose purpose);
  bool is_as_known();
  Result lock_and_refresh(Lock lock);
  Result take_lock(Lock lock);
  void give_way();
  Result let_go();
  Result refresh();
  Result write_back();

  ChangeWatch watch_;
  std::uint32_t brackets_ = 0;    // that are open
  Lock held_ = Lock::none;        // of the brackets; it lingers where it could not be given back
  bool lock_is_callers_ = false;  // taken by lock()
  bool torn_ = false;             // a flush stopped in it, and nothing tells what is missing
  bool stale_ = true;             // memory and file may differ: refresh before the next operation
  bool overtaken_ = false;
  std::uint32_t shared_locks_ = 0;  // that were taken
};

// Runs the work inside a bracket, which is left however the work ends. The first failure counts,
// with its detail code.
template <typename Work>
Result in_bracket(IndexFile& file, Purpose purpose, Work work) {
  if (!file.is_shared()) return work();
  if (const Result result = file.enter(purpose); !ok(result)) return result;
  Result result = Result::ok;
  try {
    result = work();
  } catch (...) {
    static_cast<void>(file.leave());
    throw;
  }
  const std::int32_t detail = file.block.detail;
  const Result left = file.leave();
  if (ok(result)) return left;
  file.block.detail = detail;
  return result;
}

// What a handle is opened with at least, as far as hosts are told.
inline constexpr std::int32_t kMinBuffers = 4;

class KeyTree;

// What every index handle is: a file with one tree, a file of tags, or a tag.
class Index : public HandleHead {
 public:
  IndexFile& index_file() const { return *file_; }
  // False for a file of tags.
  bool has_keys() const { return keys_ != nullptr; }
  // REQUIRES a handle that has keys.
  KeyTree& key_tree() const { return *keys_; }

 protected:
  // Once both are made. The tree is null for a file of tags.
  void stand_for(IndexFile& file, KeyTree* keys) {
    file_ = &file;
    keys_ = keys;
  }

 private:
  IndexFile* file_ = nullptr;
  KeyTree* keys_ = nullptr;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_OPEN_INDEX_FILE_H_
