// A change of an existing table with its memo file and every index of its group, while nobody else
// changes them: all of it, or nothing.
#ifndef VQDB_CHANGE_H_
#define VQDB_CHANGE_H_

#include <vqdbsys.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "file_backup.h"
#include "header.h"
#include "index_group.h"

namespace tool {

// Keeps others from changing a table, in any of its records and indexes.
class TableLock {
 public:
  // Ends the command when somebody else is at it for seconds.
  TableLock(const std::string& path, const Header& header);
  ~TableLock();
  TableLock(const TableLock&) = delete;
  TableLock& operator=(const TableLock&) = delete;

  VqBlock& block() const { return *block_; }
  VqTable* table() const { return table_; }

 private:
  std::unique_ptr<VqBlock> block_;
  VqTable* table_ = nullptr;
};

class Change {
 public:
  // Opens the table and its group and keeps others from changing them. Ends the command when
  // somebody else is at it, or when a part of the group is missing or cannot be kept in step.
  Change(const std::string& table, const std::vector<std::string>& indexes);
  // Without commit() what was backed up is put back.
  ~Change();
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  const std::string& path() const { return path_; }
  VqBlock& block() const { return *block_; }
  VqDatabase* database() const { return database_; }
  VqTable* table() const { return table_; }
  VqMemo* memo() const { return memo_; }
  const std::vector<IndexFile>& group() const { return group_; }

  // To be called before the first of several steps, and before a memo is rewritten in its place. A
  // record that is appended, updated or marked by itself needs none: its new memos stand behind the
  // old ones, and then the table is written, and then each index, in one step that is done or not
  // begun. Whoever is killed on the way leaves sound files; at worst an index lacks the key of the
  // last record or has an old one of it, which a check tells and mends.
  void back_up();
  // Rewrites a record. Where that fails the old one is written again, unless a backup is there.
  void update(std::uint32_t recno, const char* old, const char* record);
  // Lets others read the indexes, which nobody changes without the table.
  void leave_indexes();
  // Lets go of the locks for a build of indexes, which takes its own.
  void leave_locks_to_library() { release(); }
  // Writes everything out and closes it.
  void commit();

 private:
  void lock_indexes();
  void open();
  void close();
  void release();

  std::string path_;
  std::string memo_name_;
  std::string memo_path_;
  Header header_;
  std::vector<IndexFile> group_;
  // The handles that hold the locks, and those that work.
  std::optional<TableLock> lock_;
  struct IndexLock {
    VqIndex* index;
    int32_t(VQ_CALL* close)(VqIndex*);
  };
  std::vector<IndexLock> index_locks_;
  std::unique_ptr<VqBlock> block_;
  VqDatabase* database_ = nullptr;
  VqTable* table_ = nullptr;
  VqMemo* memo_ = nullptr;
  std::vector<FileBackup> backups_;
};

}  // namespace tool

#endif  // VQDB_CHANGE_H_
