#include "api/navigation.h"

#include <algorithm>
#include <array>

#include "api/database.h"
#include "api/group.h"
#include "api/index_kinds.h"
#include "api/record_keys.h"
#include "index/open/index_file.h"
#include "table/records.h"

namespace vqdb::api {
namespace {

constexpr Operation kGetrec{614};
constexpr Operation kNextrec{615};
constexpr Operation kPrevrec{616};
constexpr Operation kCurrec{617};
constexpr Operation kRewind{618};
constexpr Operation kForward{619};
constexpr Operation kSetrec{635};

constexpr std::uint32_t kStepsAtOnce = 16;

// One step in either order.
struct Step {
  Operation operation;
  std::int32_t distance;  // in record numbers
  Result (*index::Driver::*slot)(index::Index&, void* key, std::uint32_t* recno);
};

constexpr Step kNext{kNextrec, 1, &index::Driver::nxtkey};
constexpr Step kPrevious{kPrevrec, -1, &index::Driver::prvkey};
constexpr Step kCurrent{kCurrec, 0, &index::Driver::curkey};

// Where a copy leads: to the table, or to a member of the group.
struct Place {
  Database* database = nullptr;
  Member* member = nullptr;  // null: the table

  table::Table& table() const { return *database->table; }
  index::Index& index() const { return *member->index; }
};

bool navigates(std::uint32_t kind, Operation operation) {
  if (kind_of_keys(kind) != nullptr) return true;
  const IndexKind* const file = kind_of_file(kind);
  const bool steps = operation.number >= kNextrec.number && operation.number <= kCurrec.number;
  return file != nullptr && file->file_steps && steps;
}

// Where the copy leads, and for a member that its column has the operation in question.
template <typename Slot>
Result reach(const VqMember& copy, Operation operation, Slot index::Driver::*slot, Place& place) {
  place.database = owner_of(copy, operation.detail(0));
  if (place.database == nullptr) return Result::bad_handle;
  VqBlock* const block = place.database->block;
  if (copy.kind == member_kind::kTable) {
    if (copy.handle == place.database->table) return Result::ok;
    return fail(block, Result::bad_handle, operation.detail(0));
  }
  if (!navigates(copy.kind, operation)) {
    return fail(block, Result::not_allowed, operation.detail(1));
  }
  return member_with(slot, *place.database, copy, operation, place.member);
}

// The record that an index tells of: perhaps one that others have appended since the count was
// taken.
Result read_found(const Place& place, std::uint32_t recno, void* record) {
  table::Table& table = place.table();
  const bool is_news = (table::open_mode_of(table) & open_mode::kShared) != 0 &&
                       recno > table::known_record_count(table);
  return is_news ? table::reread_record(table, recno, record)
                 : table::read_record(table, recno, record);
}

Result step_from(const Place& place, const Step& step, void* record, std::uint32_t& recno,
                 void* key) {
  if (place.member == nullptr) {
    const std::uint32_t current = table::current_record(place.table());
    recno =
        current == 0 && step.distance < 0 ? 0 : current + static_cast<std::uint32_t>(step.distance);
    return table::read_record(place.table(), recno, record);
  }
  if (key == nullptr) return Result::out_of_range;
  const Result moved = (place.member->driver().*step.slot)(place.index(), key, &recno);
  return ok(moved) ? read_found(place, recno, record) : moved;
}

Result step(const VqMember& copy, const Step& step, void* record, std::uint32_t& recno, void* key) {
  Place place;
  const Result result = reach(copy, step.operation, step.slot, place);
  return ok(result) ? step_from(place, step, record, recno, key) : result;
}

// Whether nobody else changes the index, so that steps and reads may be done in another order than
// they are told of.
bool is_alone(const Place& place) {
  return place.member != nullptr && !place.index().index_file().is_shared();
}

// Leaves the position as it was so many steps before.
void step_back(const Place& place, std::uint32_t steps) {
  VqBlock& block = *place.database->block;
  const std::int32_t detail = block.detail;
  std::array<Byte, kMaxKeyBytes> key;
  std::uint32_t recno = 0;
  while (steps-- > 0) {
    static_cast<void>(place.member->driver().prvkey(place.index(), key.data(), &recno));
  }
  block.detail = detail;
}

// Some steps at once, whose records the processor fetches while it copies those before. Where one
// cannot be read the position is there, as if each had been read before the next step.
Result step_together(const Place& place, std::uint32_t most, Byte* records, std::size_t length,
                     std::uint32_t* recnos, std::uint32_t& got) {
  std::array<Byte, kStepsAtOnce * kMaxKeyBytes> keys;
  std::uint32_t steps = 0;
  const Result stepped = place.member->bracket().nxtkeys(
      place.index(), std::min(most, kStepsAtOnce), keys.data(), recnos, steps);
  table::expect_records(place.table(), {recnos, steps});
  for (got = 0; got < steps; ++got) {
    const Result read = read_found(place, recnos[got], records + got * length);
    if (ok(read)) continue;
    step_back(place, steps - got - (stepped == Result::index_end ? 0 : 1));
    return read;
  }
  return stepped;
}

// The record number under a key; with not_found that of the next key, or 0 above the last.
Result seek(const Place& place, const void* key, std::uint32_t& recno) {
  if (key == nullptr) return Result::out_of_range;
  recno = 0;
  return place.member->driver().getrno(place.index(), key, &recno);
}

std::uint32_t number_in(const void* key) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key));
}

}  // namespace

Result get_record(const VqMember& copy, const void* key, void* record, std::uint32_t& recno) {
  Place place;
  if (const Result result = reach(copy, kGetrec, &index::Driver::getrno, place); !ok(result))
    return result;
  if (place.member == nullptr) {
    recno = number_in(key);
    return table::read_record(place.table(), recno, record);
  }
  const Result found = seek(place, key, recno);
  if (!ok(found) && (found != Result::not_found || recno == 0)) return found;
  const Result read = read_found(place, recno, record);
  return ok(read) ? found : read;
}

Result find_record(const VqMember& copy, const void* key, std::uint32_t& recno) {
  Place place;
  if (const Result result = reach(copy, kSetrec, &index::Driver::getrno, place); !ok(result))
    return result;
  if (place.member != nullptr) return seek(place, key, recno);
  recno = number_in(key);
  std::uint32_t count = 0;
  if (const Result result = table::record_count(place.table(), count); !ok(result)) return result;
  if (recno < 1 || recno > count) {
    return fail(place.database->block, Result::out_of_range, kSetrec.detail(2));
  }
  table::set_current_record(place.table(), recno);
  return Result::ok;
}

Result next_record(const VqMember& copy, void* record, std::uint32_t& recno, void* key) {
  return step(copy, kNext, record, recno, key);
}

Result next_records(const VqMember& copy, std::uint32_t count, void* records, std::uint32_t* recnos,
                    std::uint32_t& got) {
  Place place;
  Result result = reach(copy, kNext.operation, kNext.slot, place);
  if (!ok(result)) return result;
  const std::size_t length =
      table::record_length(place.table()) - (fields_only(*place.database->block) ? 1 : 0);
  auto* const bytes = static_cast<Byte*>(records);
  const bool alone = is_alone(place);
  std::array<Byte, kMaxKeyBytes> key;
  for (got = 0; ok(result) && got < count;) {
    std::uint32_t more = 0;
    if (alone) {
      result = step_together(place, count - got, bytes + got * length, length, recnos + got, more);
    } else {
      result = step_from(place, kNext, bytes + got * length, recnos[got], key.data());
      more = ok(result) ? 1 : 0;
    }
    got += more;
  }
  return result;
}

Result previous_record(const VqMember& copy, void* record, std::uint32_t& recno, void* key) {
  return step(copy, kPrevious, record, recno, key);
}

Result current_record(const VqMember& copy, void* record, std::uint32_t& recno, void* key) {
  return step(copy, kCurrent, record, recno, key);
}

Result rewind(const VqMember& copy) {
  Place place;
  if (const Result result = reach(copy, kRewind, &index::Driver::rewind, place); !ok(result))
    return result;
  if (place.member == nullptr) {
    table::set_current_record(place.table(), 0);
    return Result::ok;
  }
  return place.member->driver().rewind(place.index());
}

Result forward(const VqMember& copy) {
  Place place;
  if (const Result result = reach(copy, kForward, &index::Driver::forwrd, place); !ok(result))
    return result;
  if (place.member == nullptr) {
    std::uint32_t count = 0;
    const Result result = table::record_count(place.table(), count);
    if (ok(result)) table::set_current_record(place.table(), count + 1);
    return result;
  }
  return place.member->driver().forwrd(place.index());
}

}  // namespace vqdb::api
