// The n-th call of the system fails, or is the last one that reaches the disk, for n = 1, 2, ...
// until a whole history of changes to an MDX file succeeds: entries, splits that take from the free
// list, pages and whole tags that go back to it, tags added and rebuilt. No block is ever in two
// places, no key that was flushed is lost, and what goes on in memory stays whole.

#include "support/fault_plan.h"
#include "support/host.h"
#include "support/mdx_fixture.h"
#include "table/locks.h"

namespace {

using namespace vqdb;

struct Setting {
  const char* name;
  std::uint32_t mode;
  std::int32_t buffers;
  Verdict verdict;
  bool and_all_after;
};

constexpr std::int32_t kKept = 120;     // keys of both tags that no change touches
constexpr std::int32_t kRecords = 400;  // of the table

std::string key(std::int32_t n) {
  std::string digits = std::to_string(n * 37 % 1000);
  return "KEY" + std::string(4 - digits.size(), '0') + digits + std::string(93, ' ');
}

class MdxFaults : public MdxFixture, public ::testing::WithParamInterface<Setting> {
 protected:
  // A file with two tags of long keys, and blocks in its free list.
  void SetUp() override {
    MdxFixture::SetUp();
    for (std::int32_t n = 1; n <= kRecords; ++n) {
      ASSERT_EQ(0, lib.dDapprec(table, mdx_record("N", n, n % 28, false, key(n)).data()));
    }
    ASSERT_EQ(0, lib.dDflush(table));
    create();
    VqIndex* file = open("M", 0, 50);
    VqIndex* keys = nullptr;
    for (const char* const tag : {"GONE", "KEYS", "MORE"}) {
      ASSERT_EQ(0, lib.dXindex(file, tag, "TEXT", "C100", "RECNO() <= 120"));
    }
    keys = lib.dXactidx(file, "KEYS");
    for (std::int32_t n = 500; n < 560; ++n) {
      ASSERT_EQ(0, lib.dXputkey(keys, key(n).data(), static_cast<std::uint32_t>(n)));
    }
    ASSERT_EQ(0, lib.dXdeltag(file, "GONE"));
    ASSERT_EQ(0, lib.dXclose(file));
    start_ = read_file(name("M.MDX"));
    ASSERT_EQ("", read().all_faults());
    ASSERT_LT(10u, read().free.size());
  }

  // A failure has its code and a detail.
  bool note(std::int32_t result) {
    if (result == 0) return true;
    EXPECT_TRUE(result == -17 || result == -14 || result == -20 || result == -39 || result == -40 ||
                result == -38)
        << result << " " << block.detail;
    EXPECT_NE(0, std::int32_t{block.detail});
    ++failures_;
    return false;
  }

  // Entries of one tag come and go: its own go all out, so that pages are freed and used again.
  void change(VqIndex* file) {
    VqIndex* const keys = lib.dXactidx(file, "KEYS");
    if (keys == nullptr) {
      note(block.result);
      return;
    }
    for (std::int32_t i = 0; i < 60; ++i) {
      const auto recno = static_cast<std::uint32_t>(i);
      block.detail = 0;
      note(lib.dXputkey(keys, key(200 + i).data(), 200 + recno));
      if (i % 20 == 19) note(lib.dXflush(file));
      block.detail = 0;
      const std::int32_t result = lib.dXrmkey(keys, key(500 + i).data(), 500 + recno);
      if (result != -5) note(result);
    }
  }

  // A tag comes, another one goes and comes again.
  void change_tags(VqIndex* file) {
    block.detail = 0;
    if (note(lib.dXindex(file, "NEW", "TEXT", "C100", nullptr)) || lib.dXtags(file) == 3) {
      if (note(lib.dXdeltag(file, "MORE"))) {
        note(lib.dXindex(file, "MORE", "TEXT", "C100", "RECNO() <= 120"));
      }
    }
    note(lib.dXflush(file));
  }

  // The file as it lies on the disk, once it was opened: whole but for lost blocks, and every kept
  // key of these tags found.
  void expect_disk_is_sound(const std::vector<std::string>& tags) {
    write_file(name("CRASH.MDX"), read_file(name("M.MDX")));
    VqIndex* file = open("CRASH", 0, 50);
    ASSERT_NE(nullptr, file) << block.result << " " << block.detail;
    for (const std::string& tag_name : tags) {
      VqIndex* tag = lib.dXactidx(file, tag_name.c_str());
      ASSERT_NE(nullptr, tag) << tag_name;
      for (std::int32_t n = 1; n <= kKept; ++n) {
        std::uint32_t recno = 0;
        ASSERT_EQ(0, lib.dXgetrno(tag, key(n).data(), &recno)) << tag_name << n;
        ASSERT_EQ(static_cast<std::uint32_t>(n), recno);
      }
    }
    ASSERT_EQ(0, lib.dXclose(file));
    EXPECT_EQ("", read("CRASH").all_faults());
  }

  // Runs the work with each call failing in turn.
  void strike(const std::vector<std::string>& kept_tags,
              const std::function<void(VqIndex*)>& work) {
    const Setting& setting = GetParam();
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(n);
      write_file(name("M.MDX"), start_);
      failures_ = 0;
      VqIndex* file = open("M", setting.mode, setting.buffers);
      ASSERT_NE(nullptr, file);
      bool struck = false;
      {
        const FaultPlan plan(n, setting.verdict, nullptr, setting.and_all_after);
        work(file);
        struck = plan.struck();
      }
      ASSERT_NO_FATAL_FAILURE(expect_disk_is_sound(kept_tags));
      // The failure over, everything works again, and the file is whole but for lost blocks.
      VqIndex* const keys = lib.dXactidx(file, "KEYS");
      ASSERT_NE(nullptr, keys);
      for (std::int32_t i = 0; i < 60; ++i) {
        const std::int32_t result =
            lib.dXputkey(keys, key(700 + i).data(), static_cast<std::uint32_t>(700 + i));
        ASSERT_EQ(0, result) << block.detail;
      }
      ASSERT_EQ(0, lib.dXclose(file));
      ASSERT_NO_FATAL_FAILURE(expect_disk_is_sound(kept_tags));
      if (!struck) {
        EXPECT_EQ(0, failures_);
        EXPECT_EQ("", read().all_faults());
        EXPECT_EQ(0u, read().orphans.size());
        break;
      }
      if (n > 40) n += n / 20;
    }
  }

  std::string start_;
  int failures_ = 0;
};

TEST_P(MdxFaults, entries_that_come_and_go) {
  strike({"KEYS", "MORE"}, [&](VqIndex* file) { change(file); });
}

TEST_P(MdxFaults, tags_that_come_and_go) {
  strike({"KEYS"}, [&](VqIndex* file) { change_tags(file); });
}

INSTANTIATE_TEST_SUITE_P(
    Settings, MdxFaults,
    ::testing::Values(Setting{"exclusive", 0, 4, Verdict::fail, false},
                      Setting{"exclusive_cut_short", 0, 4, Verdict::cut_short, false},
                      Setting{"exclusive_crash", 0, 4, Verdict::fail, true},
                      Setting{"exclusive_many_buffers_crash", 0, 300, Verdict::fail, true},
                      Setting{"shared", 4, 4, Verdict::fail, false},
                      Setting{"shared_crash", 2, 30, Verdict::fail, true}),
    by_name);

// A second table handle, as another process has it, in mode 4.
struct Others : NotCopied {
  explicit Others(const std::string& table_name, std::uint32_t index_kind) {
    EXPECT_EQ(0, lib.DBinit(&block, 2));
    block.index_kind = index_kind;
    table = lib.dDopen(&block, table_name.c_str(), 4, 4);
  }
  ~Others() { EXPECT_EQ(0, lib.dDclose(table)); }

  VqBlock block = {};
  VqTable* table = nullptr;
};

// Others append before every call of the system that a rebuild makes: in time, refused, or after
// it.
TEST_F(MdxFixture, a_rebuild_misses_no_record) {
  const std::string record = mdx_record("N", 1, 1);
  ASSERT_EQ(0, lib.dDapprec(table, record.data()));
  ASSERT_EQ(0, lib.dDflush(table));
  ASSERT_EQ(0, lib.dXezindx(table, name("R").c_str(), "KEYS", "TEXT", nullptr, 0));
  Others others(name("T"), block.index_kind);
  std::size_t records = 1;
  bool refused = false;
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    std::int32_t appended = 0;
    const auto [result, came] = beside_another(
        n, [&] { return lib.dXreindx(table, name("R").c_str()); },
        [&] { appended = lib.dDapprec(others.table, record.data()); });
    ASSERT_EQ(0, result) << block.detail;
    if (!came) break;
    const std::size_t built = read("R").tag("KEYS").entries.size();
    const bool late = appended == 0 && refused;
    records += appended == 0 ? 1 : 0;
    refused = refused || appended != 0;
    ASSERT_EQ(records - (late ? 1 : 0), built);
  }
  EXPECT_TRUE(refused);
}

// Others add a tag, or drop one, before every call of the system that an open makes: the group gets
// the tags of before or of after.
TEST_F(MdxFixture, an_open_meets_tags_that_come_and_go) {
  constexpr std::uint32_t kTags = 13;  // their list fills what memory its size is rounded up to
  ASSERT_EQ(0, lib.dDapprec(table, mdx_record("N", 1, 1).data()));
  open_table(4);
  const std::string file = name("M");
  for (std::uint32_t n = 0; n < kTags; ++n) {
    const std::string tag = "T" + std::to_string(n);
    ASSERT_EQ(0, lib.dXezindx(table, file.c_str(), tag.c_str(), "NAME", nullptr, 0));
  }
  const std::string start = read_file(file + ".MDX");
  Others others(name("T"), block.index_kind);
  for (const bool adds : {true, false}) {
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(n);
      write_file(file + ".MDX", start);
      std::uint32_t changed = kTags;
      const auto change_unless_busy = [&] {
        platform::File there;
        ASSERT_TRUE(there.open(file + ".MDX", platform::Access::read_write).ok());
        if (!ok(table::test_whole_file(others.block, there, block.index_kind))) return;
        VqIndex* const tags = lib.dXopen(others.table, file.c_str(), 4, 4);
        EXPECT_EQ(0, adds ? lib.dXindex(tags, "ONE_MORE", "DUE", "D", nullptr)
                          : lib.dXdeltag(tags, "T5"));
        EXPECT_EQ(0, lib.dXclose(tags));
        changed += adds ? 1u : ~0u;
      };
      VqIndexSpec spec = {VQ_KIND_MDX, file.c_str(), 4, nullptr};
      VqDatabase* database = nullptr;
      const auto [result, came] = beside_another(
          n,
          [&] {
            return lib.DBopen(&block, name("T").c_str(), 4, 1, 1, 1, &spec, &database, nullptr);
          },
          change_unless_busy);
      ASSERT_EQ(0, result) << block.detail;
      VqMember group = {};
      EXPECT_EQ(0, lib.GRPmember(database, VQ_KIND_TABLE, nullptr, nullptr, &group));
      const std::uint32_t members = group.flags;
      EXPECT_TRUE(members == 1 + kTags || members == 1 + changed) << members;
      ASSERT_EQ(0, lib.DBclose(database));
      if (!came) break;
    }
  }
}

// Two make the first tag of a file that is not there, without locks on the table that would keep
// them apart: what either has built stays, and nobody leaves an empty file.
TEST_F(MdxFixture, first_tags_of_two_meet_in_one_file) {
  for (int n = 0; n < 600; ++n) {
    ASSERT_EQ(0, lib.dDapprec(table, mdx_record("N", n, 1).data()));
  }
  ASSERT_EQ(0, lib.dDflush(table));
  block.index_kind = 4;
  open_table(4);
  Others others(name("T"), 4);
  const std::string file = name("NEW");
  for (const bool cancels : {false, true}) {
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(n);
      bool built = false;
      const auto build_unless_busy = [&] {
        platform::File there;
        const bool busy =
            there.open(file + ".MDX", platform::Access::read_write).ok() &&
            table::test_whole_file(others.block, there, block.index_kind) != Result::ok;
        if (busy) return;
        EXPECT_EQ(0, lib.dXezindx(others.table, file.c_str(), "B", "AMOUNT", nullptr, 0));
        built = true;
      };
      Host host(block, cancels ? 1 : 0);
      const auto [result, came] = beside_another(
          n, [&] { return lib.dXezindx(table, file.c_str(), "A", "NAME", nullptr, 0); },
          build_unless_busy);
      ASSERT_EQ(cancels ? VQ_E_CANCELLED : 0, result) << block.detail;
      ASSERT_EQ(built || !cancels, file_exists(file + ".MDX"));
      if (built || !cancels) {
        const MdxReport report = read("NEW");
        ASSERT_EQ("", report.all_faults());
        ASSERT_EQ(cancels ? 0u : 600u, report.tag("A").entries.size());
        ASSERT_EQ(built ? 600u : 0u, report.tag("B").entries.size());
        ASSERT_EQ(0, std::remove((file + ".MDX").c_str()));
      }
      if (!came) break;
      if (n > 30) n += n / 10;
    }
  }
}

}  // namespace
