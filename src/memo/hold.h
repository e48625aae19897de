// The hold of one operation on a memo file: in the shared modes the file's lock, from take() to
// release(). Where another process may have changed the file meanwhile, what is known of it is
// marked as stale. Reading does without as long as nobody has written.
#ifndef VQDBSYS_MEMO_HOLD_H_
#define VQDBSYS_MEMO_HOLD_H_

#include "memo/memo.h"

namespace vqdb::memo {

class Hold {
 public:
  explicit Hold(Memo& memo) : memo_(memo) {}
  ~Hold();
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

  Result take();
  // Lets go and gives the operation's result back, or the failure to let go when it had none. The
  // detail code of a failed operation stays.
  Result release(Result result);

 private:
  bool is_as_known();

  Memo& memo_;
  bool held_ = false;
};

// Runs an operation's body under a hold, on a file that is known as it is now.
template <typename Refresh, typename Body>
Result under_hold(Memo& memo, Refresh refresh, Body body) {
  Hold hold(memo);
  if (const Result taken = hold.take(); !ok(taken)) return taken;
  memo.is_carried = !memo.stale;
  Result result = memo.stale ? refresh(memo) : Result::ok;
  if (ok(result)) {
    memo.stale = false;
    result = body();
  }
  return hold.release(result);
}

// Whether what is known of a shared file is what it holds, at a moment when nobody changes it.
bool is_at_rest(Memo& memo);
// Whether what was read since then is of that moment.
bool holds_still(Memo& memo);

// Runs a body that only reads, where what is known suffices to do it without a lock. False when it
// has to be done under a hold, whatever it has come to.
template <typename Body>
bool done_without_lock(Memo& memo, Body body) {
  if (!is_at_rest(memo)) return false;
  const std::int32_t detail = memo.block->detail;
  memo.is_carried = true;
  memo.has_read = false;
  if (ok(body()) && holds_still(memo)) return true;
  memo.block->detail = detail;
  return false;
}

// Runs a body that writes. What is known of the file is stale when it fails or throws.
template <typename Body>
Result changing(Memo& memo, Body body) {
  memo.stale = true;
  const Result result = body();
  memo.stale = !ok(result);
  if (ok(result) && memo.shared()) memo.watch.note_own_change();
  return result;
}

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_HOLD_H_
