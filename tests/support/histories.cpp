#include "support/histories.h"

#include <iterator>

namespace vqdb::testing {
namespace {

// A key that is not its record's, or for a record that is not counted.
const std::set<std::int32_t> kKeyCodes = {VQ_F_ENTRY_RECORD, VQ_F_KEY_MISSING, VQ_F_KEY_EXTRA};
// Of records that moved while their keys stayed behind.
const std::set<std::int32_t> kMoved = {VQ_F_MEMO_SHARED, VQ_F_ENTRY_RECORD, VQ_F_KEY_MISSING,
                                       VQ_F_KEY_EXTRA, VQ_F_KEY_TWICE};
const std::set<std::int32_t> kPacking = {VQ_F_PACK_CUT_OFF, VQ_F_ENTRY_RECORD, VQ_F_KEY_MISSING,
                                         VQ_F_KEY_EXTRA, VQ_F_KEY_TWICE};

Step update(std::uint32_t recno, std::size_t number) {
  return {[=](World& world) {
            const std::string record = world.group.record(world.database, number);
            if (world.group.memo_result != 0) return world.group.memo_result;
            return lib.DBupdrec(world.database, recno, record.data());
          },
          recno};
}

Step open_in(std::uint32_t mode) {
  return {[=](World& world) { return world.open(mode); }};
}
Step remove(std::uint32_t recno) {
  return {[=](World& world) { return lib.DBdelrec(world.database, recno); }};
}
Step recall(std::uint32_t recno) {
  return {[=](World& world) { return lib.DBrclrec(world.database, recno); }};
}
// The table and an index of each kind, one by one.
const Step kFlushMembers = {[](World& world) {
  for (const std::uint32_t kind : {VQ_KIND_TABLE, VQ_KIND_NDX, VQ_KIND_TAG}) {
    VqMember member = {};
    const std::int32_t found = lib.GRPmember(world.database, kind, nullptr, "NAMES", &member);
    const std::int32_t result = found != 0 ? found : lib.DBmember_flush(&member);
    if (result != 0) return result;
  }
  return 0;
}};
const Step kFlush = {[](World& world) { return lib.DBflush(world.database); }};
const Step kClose = {[](World& world) { return world.close(); }};

// Work on the table, open alone.
Step on_table(std::int32_t (*work)(World&, VqTable*)) {
  return {[=](World& world) {
    VqTable* const table = lib.dDopen(&world.group.block, world.group.table().c_str(), 0, 1);
    if (table == nullptr) return std::int32_t{world.group.block.result};
    const std::int32_t result = work(world, table);
    const std::int32_t closed = lib.dDclose(table);
    return result != 0 ? result : closed;
  }};
}

void delete_some(World& world) {
  EXPECT_EQ(0, world.open(0));
  for (const std::uint32_t recno : {2U, 5U, 12U}) {
    EXPECT_EQ(0, lib.DBdelrec(world.database, recno));
  }
  EXPECT_EQ(0, world.close());
}

void lose_memos(World& world) {
  EXPECT_EQ(0, world.open(0));
  EXPECT_EQ(0, update(1, 61).run(world));
  EXPECT_EQ(0, world.close());
}

// Also a memo that two fields name.
void damage(World& world) {
  const std::string table = world.group.file("ITEMS.DBF");
  write_bytes(table, CheckedGroup::at(2, 28), read_bytes(table, CheckedGroup::at(1, 28), 10));
  write_bytes(table, 4, "\x03");
  write_bytes(world.group.file("ITEMS.DBT"), 2, "\x7F");
  write_bytes(world.group.file("BYNAME.NDX"), 1024, "\x77");
}

struct Alone {
  const char* name;
  void (*prepare)(World&);
  Step step;
  std::set<std::int32_t> may_find = {};
};

std::vector<Alone> operations_alone() {
  const auto on_group = [](std::int32_t (*work)(CheckedGroup&)) {
    return Step{[=](World& world) { return work(world.group); }};
  };
  return {
      {"insert", nullptr, on_table([](World&, VqTable* table) {
         std::string record(CheckedGroup::kRecordBytes, ' ');
         record.replace(1, 3, "new");
         return lib.dDinsrec(table, 4, record.data());
       }),
       kMoved},
      {"remove", nullptr, on_table([](World&, VqTable* table) { return lib.dDrmrec(table, 4); }),
       kMoved},
      {"pack_table", delete_some, on_group([](CheckedGroup& group) {
         return lib.dDpack(&group.block, group.table().c_str());
       }),
       kMoved},
      {"sort", nullptr, on_group([](CheckedGroup& group) {
         return lib.dDsort(&group.block, group.table().c_str(), group.file("OTHER").c_str(),
                           "QTY/D");
       })},
      {"copy", nullptr, on_group([](CheckedGroup& group) {
         return lib.DBcopy(&group.block, group.table().c_str(), group.file("OTHER").c_str());
       })},
      {"join", nullptr, on_group([](CheckedGroup& group) {
         return lib.dDcat(&group.block, group.file("OTHER").c_str(), group.table().c_str());
       })},
      {"pack", delete_some, on_group([](CheckedGroup& group) {
         return lib.DBpack(&group.block, group.table().c_str());
       }),
       kPacking},
      {"compact", lose_memos, on_group([](CheckedGroup& group) {
         return lib.DBcompact(&group.block, group.table().c_str());
       })},
      {"repair", damage, Step{[](World& world) { return world.repair().result; }}},
      {"check", nullptr, on_group([](CheckedGroup& group) { return group.check().result; })},
      {"check_files", nullptr, on_group([](CheckedGroup& group) {
         const std::string table = group.table();
         const VqCheckOptions against = {0, 0, nullptr, table.c_str(), nullptr};
         std::int32_t result = 0;
         for (const auto& [check, name] :
              {std::pair(lib.dDcheck, table), std::pair(lib.dTcheck, table),
               std::pair(lib.dNcheck, group.index_names[0]), std::pair(lib.dXcheck, table)}) {
           if (result == 0) result = run_check(check, group.block, name, &against).result;
         }
         return result;
       })},
      {"build", nullptr, on_table([](World& world, VqTable* table) {
         return lib.dNindex(table, world.group.index_names[0].c_str(), "NAME+SPACE(80)", 0);
       })},
      {"rebuild", nullptr, on_table([](World& world, VqTable* table) {
         return lib.dNreindex(table, world.group.index_names[0].c_str());
       })},
      {"build_tag", nullptr, on_table([](World& world, VqTable* table) {
         return lib.dXezindx(table, world.group.table().c_str(), "DUES", "DUE", nullptr, 0);
       })},
      {"rebuild_tags", nullptr, on_table([](World& world, VqTable* table) {
         return lib.dXreindx(table, world.group.table().c_str());
       })},
      {"drop_tag", nullptr, on_table([](World& world, VqTable* table) {
         VqIndex* const file = lib.dXopen(table, world.group.table().c_str(), 0, 4);
         if (file == nullptr) return std::int32_t{world.group.block.result};
         const std::int32_t result = lib.dXdeltag(file, "QTYS");
         const std::int32_t closed = lib.dXclose(file);
         return result != 0 ? result : closed;
       })},
      {"copy_index", nullptr, on_group([](CheckedGroup& group) {
         const std::string other = group.file("OTHER");
         const std::int32_t result =
             lib.dNcopy(&group.block, group.index_names[0].c_str(), other.c_str());
         return result != 0 ? result
                            : lib.dXcopy(&group.block, group.table().c_str(), other.c_str());
       })},
  };
}

}  // namespace

World::World(std::uint32_t kind) : group(kind), kind_(kind) {
  group.create();
  group.fill();
  if (kind != 1) {
    group.add_tags();
    group.specs.push_back({VQ_KIND_MDX, mdx_.c_str(), 4, nullptr});
  }
  EXPECT_EQ(0, lib.DBclose(group.open()));  // which writes the list
  keep();
}

World::Files World::files() const {
  Files files;
  for (const std::string& name : group.folder.list()) files[name] = read_file(group.file(name));
  return files;
}

bool World::restore() {
  bool same = true;
  for (const std::string& name : group.folder.list()) {
    if (files_.count(name) == 0) same = !std::filesystem::remove(group.file(name));
  }
  for (const auto& [name, bytes] : files_) {
    if (file_exists(group.file(name)) && read_file(group.file(name)) == bytes) continue;
    write_file(group.file(name), bytes);
    same = false;
  }
  return same;
}

// Table and memo file by themselves: what belongs to a pack that was cut off opens as no group.
Atoms World::read() {
  Atoms atoms;
  const bool dbase4 = kind_ != 1;
  VqTable* const table = lib.dDopen(&group.block, group.table().c_str(), 1, 4);
  VqMemo* const memo = (dbase4 ? lib.dTopen : lib.dTopen3)(&group.block, group.table().c_str(), 1);
  EXPECT_TRUE(table != nullptr && memo != nullptr) << int32_t{group.block.detail};
  if (table == nullptr || memo == nullptr) return atoms;
  std::string record(CheckedGroup::kRecordBytes, '\0');
  for (std::uint32_t recno = 1; lib.dDgetrec(table, recno, record.data()) == 0; ++recno) {
    atoms.insert(record.substr(0, 28));
    for (const std::size_t field : {std::size_t{28}, std::size_t{38}}) {
      const char* const place = &record[field];
      if (record.substr(field, 10).find_first_not_of(' ') == std::string::npos) continue;
      std::int32_t size = 0;
      EXPECT_EQ(0, (dbase4 ? lib.dTmemosz : lib.dTmemsz3)(memo, place, &size));
      std::string text(static_cast<std::size_t>(size) + 1, '\0');
      EXPECT_EQ(0, (dbase4 ? lib.dTgetmm : lib.dTgetmm3)(memo, place, 0, size, text.data(), &size,
                                                         nullptr));
      text.resize(static_cast<std::size_t>(size));
      atoms.insert(std::to_string(field) + text);
    }
  }
  EXPECT_EQ(0, (dbase4 ? lib.dTclose : lib.dTclose3)(memo));
  EXPECT_EQ(0, lib.dDclose(table));
  return atoms;
}

std::string World::errors(const std::set<std::int32_t>& allowed,
                          const std::function<bool(std::uint32_t)>& may_differ) {
  const Report report = group.check();
  std::string text = report.result < 0 ? std::to_string(report.result) : "";
  for (const Finding& finding : report.findings) {
    if (finding.severity < VQ_SEVERITY_ERROR || finding.code == VQ_F_COUNT_LOW) continue;
    if (allowed.count(finding.code) != 0) continue;
    if (kKeyCodes.count(finding.code) != 0 && may_differ(finding.record)) continue;
    text += std::to_string(finding.code) + " " + finding.file + ": " + finding.text + "\n";
  }
  return text;
}

std::int32_t World::open(std::uint32_t mode) {
  return lib.DBopen(&group.block, group.table().c_str(), mode, 4, 1,
                    static_cast<std::int32_t>(group.specs.size()), group.specs.data(), &database,
                    nullptr);
}

std::uint32_t World::members() const {
  VqMember table = {};
  EXPECT_EQ(0, lib.GRPmember(database, VQ_KIND_TABLE, nullptr, nullptr, &table));
  return table.flags;
}

std::int32_t World::close() { return lib.DBclose(std::exchange(database, nullptr)); }

Step append(std::size_t number, std::uint32_t record) {
  return {[=](World& world) {
            std::uint32_t recno = 0;
            const std::string text = world.group.record(world.database, number);
            if (world.group.memo_result != 0) return world.group.memo_result;
            return lib.DBapprec(world.database, text.data(), &recno);
          },
          record};
}

std::string History::errors(World& world, std::size_t done, bool half) const {
  std::set<std::int32_t> allowed = may_find;
  for (std::int32_t code = 300; half && code < 400; ++code) allowed.insert(code);
  return world.errors(allowed, [&](std::uint32_t record) {
    const auto first = steps.begin() + static_cast<std::ptrdiff_t>(stored(done));
    const auto last = steps.begin() + static_cast<std::ptrdiff_t>(begun(done));
    return std::any_of(first, last, [&](const Step& step) { return step.record == record; });
  });
}

std::size_t History::stored(std::size_t done) const {
  return stores_each || done + 1 >= steps.size() ? done : 0;
}

std::size_t History::begun(std::size_t done) const {
  return stores_each ? std::min(done + 1, steps.size()) : steps.size();
}

std::vector<History> histories() {
  std::vector<History> all;
  for (const auto& [kind, mode] :
       {std::pair(7U, 0U), std::pair(7U, 2U), std::pair(7U, 4U), std::pair(1U, 2U)}) {
    all.push_back({"changes",
                   kind,
                   mode,
                   mode != 0,
                   nullptr,
                   {},
                   {open_in(mode), append(13, 13), append(100, 14), update(3, 49), remove(5),
                    recall(5), append(28, 15), update(1, 1999), append(20, 16), kFlush, kClose}});
  }
  const auto build = [](std::uint32_t kind, const char* file, const char* tag) {
    return Step{[=](World& world) {
      const std::string name = world.group.file(file);
      const std::uint32_t before = world.members();
      const std::int32_t result =
          lib.DBindex(world.database, kind, name.c_str(), tag, "NAME", nullptr, 0);
      EXPECT_TRUE(result != 0 || world.members() > before) << "built, but not joined";
      return result;
    }};
  };
  const Step index = build(VQ_KIND_NDX, "BYPAID", nullptr);
  const Step tag = build(VQ_KIND_MDX, "ITEMS", "NEW"), first = build(VQ_KIND_MDX, "FRESH", "NEW");
  const Step rebuild = {[](World& world) { return lib.DBreindex(world.database); }};
  all.push_back({"index", 7, 0, true, nullptr, {}, {open_in(0), index, rebuild, kClose}});
  all.push_back({"index", 7, 2, true, nullptr, {}, {open_in(2), index, kClose}});
  all.push_back({"tag", 7, 4, true, nullptr, {}, {open_in(4), tag, first, kClose}});
  all.push_back({"flush",
                 7,
                 0,
                 false,
                 nullptr,
                 {},
                 {open_in(0), append(15, 13), kFlushMembers, kFlush, kClose}});
  for (const Alone& alone : operations_alone()) {
    all.push_back({alone.name, 7, 0, true, alone.prepare, alone.may_find, {alone.step}});
  }
  for (const Alone& alone : operations_alone()) {
    if (alone.prepare != lose_memos && alone.prepare != damage) continue;
    all.push_back({alone.name, 1, 0, true, alone.prepare, {}, {alone.step}});
  }
  return all;
}

std::string name_of(const History& history) {
  return history.name + "_dialect" + std::to_string(history.kind) + "_mode" +
         std::to_string(history.mode);
}

std::vector<Atoms> states_of(World& world, const History& history,
                             const std::function<void()>& after_each) {
  std::vector<Atoms> states = {world.read()};
  for (const Step& step : history.steps) {
    EXPECT_EQ(0, step.run(world));
    states.push_back(world.read());
    after_each();
  }
  return states;
}

std::string first_lost(const std::vector<Atoms>& states, std::size_t first, std::size_t last,
                       const Atoms& now) {
  Atoms needed = states[first];
  for (std::size_t i = first + 1; i <= last; ++i) {
    Atoms both;
    std::set_intersection(needed.begin(), needed.end(), states[i].begin(), states[i].end(),
                          std::inserter(both, both.end()));
    needed.swap(both);
  }
  Atoms lost;
  std::set_difference(needed.begin(), needed.end(), now.begin(), now.end(),
                      std::inserter(lost, lost.end()));
  return lost.empty() ? "" : lost.begin()->substr(0, 60);
}

}  // namespace vqdb::testing
