// A database: an open table with its memo file and its index group. It owns all of them; the host
// holds the database by one address and the members by copies that group.h hands out.
#ifndef VQDBSYS_API_DATABASE_H_
#define VQDBSYS_API_DATABASE_H_

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "api/index_kinds.h"
#include "api/memory.h"
#include "expr/expression.h"
#include "frame/handle_pool.h"
#include "index/driver_table.h"
#include "memo/driver_table.h"
#include "table/table.h"

namespace vqdb::api {

// Room for a key expression and, behind its zero byte, a filter expression with its own.
inline constexpr std::int32_t kMaxExpressionBytes = 490;

struct FreeExpression {
  void operator()(expr::Expression* expression) const { expr::free(*expression); }
};
using Program = std::unique_ptr<expr::Expression, FreeExpression>;

// An index file or a tag of the group.
struct Member {
  const IndexKind* kind = nullptr;
  index::Index* index = nullptr;
  Text name;                    // files only
  Text tag;                     // tags only
  Text definition;              // tags only: what key and filter were compiled from
  std::int32_t buffers = 0;     // files only
  bool all_tags = false;        // files only: tags that others add to it join the group
  std::uint32_t tags_seen = 0;  // files only: the state of its tags that the group is in step with
  Member* file = nullptr;       // tags only: the member that holds the tag
  Program key;
  Program filter;  // tags only, and not all of them
  std::int32_t key_length = 0;
  char key_type = 0;
  bool reads_flag = false;  // key or filter depend on the deletion flag
  // Of files, in a record operation; see entered_files.h.
  bool wanted = false;
  bool entered = false;

  bool is_tag() const { return file != nullptr; }
  bool carries_keys() const { return is_tag() || !kind->has_tags(); }
  // The kind code of its copies.
  std::uint32_t code() const { return is_tag() ? kind->tag_code : kind->code; }
  // The name of the file that the member is, or lies in.
  const Text& file_name() const { return is_tag() ? file->name : name; }

  const index::Driver& driver() const { return index::driver(kind->column); }
  const index::Bracket& bracket() const { return index::bracket(kind->column); }
};

// Members keep their addresses while others join, since the copies that hosts hold point into them.
using MemberList = std::list<Member, PlatformAllocator<Member>>;
using FileOrder = std::vector<Member*, PlatformAllocator<Member*>>;

struct Database : HandleHead {
  table::Table* table = nullptr;
  Text table_name;  // as the host gave it
  memo::Memo* memo = nullptr;
  Text memo_name;
  std::uint32_t mode = 0;         // as the host gave it
  std::uint32_t memo_kind = 0;    // 0 without a memo file
  std::uint32_t memo_column = 0;  // of the memo driver table
  MemberList members;             // a tag behind its file
  FileOrder file_order;           // the order of entering; empty until it is asked for

  VqBlock& owner_block() const { return *block; }
  const memo::Driver& memo_driver() const { return memo::driver(memo_column); }
};

HandlePool<Database>& databases();

// Closes every member, the last one first, then memo file, table and handle, even when one of them
// fails; the first failure is returned, with its detail code in the block.
Result close(Database& database);

// Deactivates a tag or closes a file; the member stays, without a handle.
Result close_member(Member& member);
// Closes the last member and takes it out of the group.
Result close_last_member(Database& database);
// The same for any member but a file that still has tags; what closing says does not count.
void drop_member(Database& database, MemberList::iterator member);
// The place behind a file's tags.
MemberList::iterator end_of_file(Database& database, MemberList::iterator file);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_DATABASE_H_
