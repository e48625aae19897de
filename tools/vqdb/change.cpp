#include "change.h"

#include <algorithm>

#include "file_names.h"
#include "memo_file.h"
#include "stop.h"
#include "table.h"
#include "working_block.h"

namespace tool {
namespace {

constexpr std::uint32_t kShared = VQ_OPEN_SHARED_CACHED;
constexpr int kBuffers = 64;
constexpr std::uint32_t kPagesOfAnIndex = 1000;

}  // namespace

TableLock::TableLock(const std::string& path, const Header& header)
    : block_(working_block(header)), table_(dDopen(block_.get(), path.c_str(), kShared, 1)) {
  if (table_ == nullptr) stop_unopened(*block_, path);
  const int32_t result = dDlkfil(table_);
  if (result == VQ_OK) return;
  dDclose(table_);
  require(*block_, result, path);
}

TableLock::~TableLock() { dDclose(table_); }

Change::Change(const std::string& table, const std::vector<std::string>& indexes)
    : path_(find_table(table)),
      memo_name_(split_at_semicolon(table).second),
      header_(read_header(path_)),
      group_(index_group_of(path_, header_, indexes)),
      block_(working_block(header_)) {
  if (header_.hides_records()) {
    stop_failed("{}: the header counts {} records, the file holds {}; a change would lose some",
                path_, header_.records, header_.records_in_file());
  }
  for (const IndexFile& file : group_) {
    if (!file.is_there) {
      stop_failed("{}: the index belongs to {} but is missing; a change would leave it behind",
                  file.path, path_);
    }
  }
  try {
    lock_.emplace(path_, header_);
    lock_indexes();
    open();
  } catch (...) {
    close();
    release();
    throw;
  }
}

Change::~Change() {
  close();
  for (FileBackup& backup : backups_) backup.restore();
  release();
}

// Others who read along wait while the indexes are rewritten.
void Change::lock_indexes() {
  for (const IndexFile& file : group_) {
    const bool is_mdx = file.kind == VQ_KIND_MDX;
    VqIndex* const index =
        (is_mdx ? dXopen : dNopen)(lock_->table(), file.path.c_str(), kShared, 4);
    if (index == nullptr) stop_unopened(lock_->block(), file.path);
    index_locks_.push_back({index, is_mdx ? dXclose : dNclose});
    require(lock_->block(), (is_mdx ? dXlkfil : dNlkfil)(index), file.path);
  }
}

void Change::open() {
  std::vector<VqIndexSpec> specs(group_.size());
  for (std::size_t i = 0; i < specs.size(); ++i) {
    specs[i] = {group_[i].kind, group_[i].path.c_str(), kPagesOfAnIndex,
                i + 1 < specs.size() ? &specs[i + 1] : nullptr};
  }
  memo_path_ = memo_path_of(path_, header_.version, memo_name_);
  const std::string name = path_ + ";" + memo_path_;
  VqIndexSpec* failed = nullptr;
  const int32_t result =
      DBopen(block_.get(), name.c_str(), VQ_OPEN_NO_INDEX_LIST | VQ_OPEN_WITHOUT_MEMO, kBuffers,
             VQ_SPECS_CHAIN, static_cast<int32_t>(specs.size()), specs.data(), &database_, &failed);
  require(*block_, result, failed != nullptr ? failed->name : path_);
  VqMember member;
  require(*block_, GRPmember(database_, VQ_KIND_TABLE, nullptr, nullptr, &member), path_);
  table_ = static_cast<VqTable*>(member.handle);
  if (GRPmember(database_, VQ_KIND_DBASE4_MEMO, nullptr, nullptr, &member) == VQ_OK) {
    memo_ = static_cast<VqMemo*>(member.handle);
  }
}

void Change::back_up() {
  if (!backups_.empty()) return;
  require(*block_, DBflush(database_), path_);
  backups_.emplace_back(path_);
  if (memo_ != nullptr) backups_.emplace_back(memo_path_);
  for (const IndexFile& file : group_) backups_.emplace_back(file.path);
}

void Change::update(std::uint32_t recno, const char* old, const char* record) {
  const int32_t result = DBupdrec(database_, recno, record);
  if (result == VQ_OK) return;
  const std::string place = fmt::format("{}: record {}", path_, recno);
  const std::string why = words_of(result, block_->detail);
  if (backups_.empty() && DBupdrec(database_, recno, old) != VQ_OK) {
    stop_failed("{}: {}; check --repair mends what is left of it", place, why);
  }
  stop_failed("{}: {}", place, why);
}

void Change::commit() {
  int32_t result = DBflush(database_);  // in the order that back_up() tells of
  const int32_t closed = DBclose(std::exchange(database_, nullptr));
  if (result == VQ_OK) result = closed;
  require(*block_, result, path_);
  for (FileBackup& backup : backups_) backup.forget();
}

void Change::close() {
  if (database_ != nullptr) DBclose(std::exchange(database_, nullptr));
}

void Change::leave_indexes() {
  for (const IndexLock& lock : index_locks_) lock.close(lock.index);
  index_locks_.clear();
}

void Change::release() {
  leave_indexes();
  lock_.reset();
}

}  // namespace tool
