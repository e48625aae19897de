// The DB family: databases, their members and records. WEP.
#include "api/database.h"

#include "api/block.h"
#include "api/building.h"
#include "api/create.h"
#include "api/field_text.h"
#include "api/group.h"
#include "api/memos.h"
#include "api/navigation.h"
#include "api/open.h"
#include "api/pack.h"
#include "api/queries.h"
#include "api/updates.h"
#include "exports/guard.h"
#include "frame/wait.h"
#include "table/records.h"
#include "table/table_handle.h"
#include "vqdbsys.h"

namespace {

using vqdb::code;
using vqdb::ok;
using vqdb::Operation;
using vqdb::Result;
using vqdb::exports::guarded;
namespace api = vqdb::api;
namespace table = vqdb::table;

// Bad handles of this family have digit 0; digit 1 belongs to other failures.
constexpr Operation kClose{612};
constexpr Operation kMember{613};
constexpr Operation kAppend{620};
constexpr Operation kUpdate{621};
constexpr Operation kDelete{622};
constexpr Operation kRecall{623};
constexpr Operation kFlush{624};
constexpr Operation kStatus{625};
constexpr Operation kMemo{627};
constexpr Operation kIndex{632};
constexpr Operation kReindex{633};
// DBexfield looks a field up as dDfldno does, and fails as it does.
constexpr Operation kFieldNumber{22};

constexpr std::int32_t kRange = VQ_E_RANGE;

template <typename Body>
std::int32_t with_database(VqDatabase* database, Operation operation, Body body) {
  return vqdb::exports::with_handle(api::databases(), database, operation.detail(0), body);
}

// A change of one record.
template <typename Body>
std::int32_t change(VqDatabase* database, Operation operation, Body body) {
  return with_database(database, operation, [&](api::Database& open) {
    return vqdb::patiently(open.owner_block(), [&] { return body(open); });
  });
}

template <typename... Pointers>
bool any_null(const Pointers*... pointers) {
  return (... || (pointers == nullptr));
}

}  // namespace

extern "C" {

std::int32_t VQ_CALL DBinit(VqBlock* block, std::uint32_t kind) {
  if (block == nullptr) return kRange;
  return code(api::init_block(*block, kind));
}

std::int32_t VQ_CALL DBopen(VqBlock* block, const char* name, std::uint32_t mode,
                            std::int32_t buffers, std::uint32_t options, std::int32_t count,
                            VqIndexSpec* specs, VqDatabase** out, VqIndexSpec** failed) {
  if (any_null(block, name, out)) return kRange;
  *out = nullptr;
  return guarded([&] {
    api::Database* database = nullptr;
    VqIndexSpec* failed_spec = nullptr;
    const Result result =
        api::open(*block, {name, mode, buffers, options, count, specs}, database, failed_spec);
    *out = reinterpret_cast<VqDatabase*>(database);
    if (failed != nullptr) *failed = failed_spec;
    return result;
  });
}

std::int32_t VQ_CALL DBuse(VqBlock* block, const char* name, std::uint32_t mode, VqDatabase** out) {
  if (any_null(block, name, out)) return kRange;
  *out = nullptr;
  return guarded([&] {
    api::Database* database = nullptr;
    const Result result = api::use(*block, name, mode, database);
    *out = reinterpret_cast<VqDatabase*>(database);
    return result;
  });
}

std::int32_t VQ_CALL DBclose(VqDatabase* database) {
  return with_database(database, kClose, [](api::Database& open) { return api::close(open); });
}

std::int32_t VQ_CALL GRPmember(VqDatabase* database, std::uint32_t kind, const char* name,
                               const char* tag, VqMember* out) {
  return with_database(database, kMember, [&](api::Database& open) {
    return out == nullptr ? Result::out_of_range : api::find_member(open, kind, name, tag, *out);
  });
}

std::int32_t VQ_CALL DBcreat(VqBlock* block, const char* name, std::int32_t count,
                             const char* const* fields) {
  if (any_null(block, name, fields)) return kRange;
  return guarded([&] { return api::create(*block, name, count, fields); });
}

std::int32_t VQ_CALL DBcopy(VqBlock* block, const char* from, const char* to) {
  if (block == nullptr) return kRange;
  return guarded([&] { return api::copy(*block, from, to); });
}

std::int32_t VQ_CALL DBgetrec(const VqMember* member, const void* key, void* record,
                              std::uint32_t* recno) {
  if (any_null(member, record, recno)) return kRange;
  return guarded([&] { return api::get_record(*member, key, record, *recno); });
}

std::int32_t VQ_CALL DBsetrec(const VqMember* member, const void* key, std::uint32_t* recno) {
  if (any_null(member, recno)) return kRange;
  return guarded([&] { return api::find_record(*member, key, *recno); });
}

std::int32_t VQ_CALL DBnextrec(const VqMember* member, void* record, std::uint32_t* recno,
                               void* key) {
  if (any_null(member, record, recno)) return kRange;
  return guarded([&] { return api::next_record(*member, record, *recno, key); });
}

std::int32_t VQ_CALL DBgetrecs(const VqMember* member, std::uint32_t count, void* records,
                               std::uint32_t* recnos, std::uint32_t* got) {
  if (got != nullptr) *got = 0;
  if (any_null(member, records, recnos, got)) return kRange;
  return guarded([&] { return api::next_records(*member, count, records, recnos, *got); });
}

std::int32_t VQ_CALL DBprevrec(const VqMember* member, void* record, std::uint32_t* recno,
                               void* key) {
  if (any_null(member, record, recno)) return kRange;
  return guarded([&] { return api::previous_record(*member, record, *recno, key); });
}

std::int32_t VQ_CALL DBcurrec(const VqMember* member, void* record, std::uint32_t* recno,
                              void* key) {
  if (any_null(member, record, recno)) return kRange;
  return guarded([&] { return api::current_record(*member, record, *recno, key); });
}

std::int32_t VQ_CALL DBrewind(const VqMember* member) {
  if (member == nullptr) return kRange;
  return guarded([&] { return api::rewind(*member); });
}

std::int32_t VQ_CALL DBforward(const VqMember* member) {
  if (member == nullptr) return kRange;
  return guarded([&] { return api::forward(*member); });
}

std::int32_t VQ_CALL DBapprec(VqDatabase* database, const void* record, std::uint32_t* recno) {
  return change(database, kAppend, [&](api::Database& open) {
    return any_null(record, recno) ? Result::out_of_range
                                   : api::append_record(open, record, *recno);
  });
}

std::int32_t VQ_CALL DBupdrec(VqDatabase* database, std::uint32_t recno, const void* record) {
  return change(database, kUpdate, [&](api::Database& open) {
    return record == nullptr ? Result::out_of_range : api::update_record(open, recno, record);
  });
}

std::int32_t VQ_CALL DBdelrec(VqDatabase* database, std::uint32_t recno) {
  return change(database, kDelete,
                [&](api::Database& open) { return api::delete_record(open, recno); });
}

std::int32_t VQ_CALL DBrclrec(VqDatabase* database, std::uint32_t recno) {
  return change(database, kRecall,
                [&](api::Database& open) { return api::recall_record(open, recno); });
}

std::int32_t VQ_CALL DBrecsta(VqDatabase* database, std::uint32_t recno) {
  return with_database(database, kStatus, [&](api::Database& open) {
    char flag = 0;
    const Result result = table::record_status(*open.table, recno, flag);
    return ok(result) ? std::int32_t{flag} : code(result);
  });
}

std::int32_t VQ_CALL DBflush(VqDatabase* database) {
  return with_database(database, kFlush, [](api::Database& open) { return api::flush(open); });
}

std::int32_t VQ_CALL DBmember_flush(const VqMember* member) {
  if (member == nullptr) return kRange;
  return guarded([&] { return api::flush_member(*member); });
}

std::int32_t VQ_CALL DBindex(VqDatabase* database, std::uint32_t kind, const char* name,
                             const char* tag, const char* key, const char* filter,
                             std::uint32_t options) {
  return with_database(database, kIndex, [&](api::Database& open) {
    return any_null(name, key) ? Result::out_of_range
                               : api::build_index(open, kind, {name, tag, key, filter, options});
  });
}

std::int32_t VQ_CALL DBreindex(VqDatabase* database) {
  return with_database(database, kReindex,
                       [](api::Database& open) { return api::rebuild_indexes(open); });
}

std::int32_t VQ_CALL DBexfield(VqTable* table, const void* record, const char* name, char* out) {
  return vqdb::exports::with_handle(
      table::tables(), table, kFieldNumber.bad_handle(), [&](table::Table& open) {
        return any_null(record, name, out) ? Result::out_of_range
                                           : api::extract_field(open, record, name, out);
      });
}

std::int32_t VQ_CALL DBexpr(const VqMember* member, char* text, std::int32_t size,
                            std::int32_t* flags) {
  if (any_null(member, text)) return kRange;
  return guarded([&] { return api::key_expression(*member, text, size, flags); });
}

std::int32_t VQ_CALL DBexplen(const VqMember* member, std::int32_t* length, std::int32_t* flags) {
  if (any_null(member, length)) return kRange;
  return guarded([&] { return api::key_expression_length(*member, length, flags); });
}

std::int32_t VQ_CALL DBkeylen(const VqMember* member, std::int32_t* length) {
  if (any_null(member, length)) return kRange;
  return guarded([&] { return api::key_length(*member, *length); });
}

std::int32_t VQ_CALL DBkeytype(const VqMember* member, std::int32_t* type) {
  if (any_null(member, type)) return kRange;
  return guarded([&] { return api::key_type(*member, *type); });
}

std::int32_t VQ_CALL DBlist_tags(const VqMember* member, std::int32_t sorted, void* list) {
  if (any_null(member, list)) return kRange;
  return guarded([&] { return api::list_tags(*member, sorted != 0, list); });
}

std::int32_t VQ_CALL DBtags(const VqMember* member) {
  if (member == nullptr) return kRange;
  return guarded([&] { return api::count_tags(*member); });
}

std::int32_t VQ_CALL DBgetmemo(VqDatabase* database, const char* reference, std::int32_t offset,
                               std::int32_t max, void* buffer, std::int32_t* length,
                               std::int32_t* done) {
  return with_database(database, kMemo, [&](api::Database& open) {
    return any_null(reference, buffer, length)
               ? Result::out_of_range
               : api::get_memo(open, reference, offset, max, buffer, length, done);
  });
}

std::int32_t VQ_CALL DBmemosize(VqDatabase* database, const char* reference, std::int32_t* length) {
  return with_database(database, kMemo, [&](api::Database& open) {
    return any_null(reference, length) ? Result::out_of_range
                                       : api::memo_size(open, reference, length);
  });
}

std::int32_t VQ_CALL DBmemotype(VqDatabase* database, const char* reference, std::int32_t* type) {
  return with_database(database, kMemo, [&](api::Database& open) {
    return any_null(reference, type) ? Result::out_of_range : api::memo_type(open, reference, type);
  });
}

std::int32_t VQ_CALL DBmemomem(VqBlock* block, const char* name, std::int32_t* size) {
  if (any_null(block, name, size)) return kRange;
  return guarded([&] { return api::memo_memory(*block, name, *size); });
}

std::int32_t VQ_CALL DBoptimize(VqBlock* block, const char* name) {
  if (any_null(block, name)) return kRange;
  return guarded([&] { return api::compact_memos(*block, name); });
}

std::int32_t VQ_CALL DBpack(VqBlock* block, const char* name) {
  if (any_null(block, name)) return kRange;
  return guarded([&] { return api::pack_database(*block, name); });
}

// The entry that the system of old called before it unloaded a library.
std::int32_t VQ_CALL WEP(std::int32_t) { return 1; }

}  // extern "C"
