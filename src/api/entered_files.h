// The index files of a group that a record operation works on, entered together: each is locked and
// refreshed once before the record is written, and written and let go when its last key is in.
#ifndef VQDBSYS_API_ENTERED_FILES_H_
#define VQDBSYS_API_ENTERED_FILES_H_

#include "api/database.h"
#include "frame/result.h"

namespace vqdb::api {

// While they are entered no other process finds a record by one index before its keys are in the
// others. All processes enter in the order of the files' identities, so none waits for one that
// waits for it; locks of the table never wait, so they do not matter for that.
class EnteredFiles {
 public:
  explicit EnteredFiles(Database& database);
  // A failure of leaving is lost; leave_after() reports it.
  ~EnteredFiles() { (void)leave_after(Result::ok); }
  EnteredFiles(const EnteredFiles&) = delete;
  EnteredFiles& operator=(const EnteredFiles&) = delete;

  // The file that the member is or lies in is entered by the next enter().
  void want(Member& member);
  // Wants the files of all members with keys.
  void want_all();
  // All that are wanted, or none. Files that are not shared take no notice.
  Result enter();
  // Leaves what was entered, the last one first. The work's own failure wins.
  Result leave_after(Result work);

 private:
  Database& database_;
  const bool shared_;
};

}  // namespace vqdb::api

#endif  // VQDBSYS_API_ENTERED_FILES_H_
