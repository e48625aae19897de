// The n-th call of the system fails, or is the last one that reaches the disk, for n = 1, 2, ...
// until a whole history of changes to an MDX file succeeds: entries, splits that take from the free
// list, pages and whole tags that go back to it, tags added and rebuilt. No block is ever in two
// places, no key that was flushed is lost, and what goes on in memory stays whole.
#include <map>

#include "support/fault_plan.h"
#include "support/mdx_fixture.h"
#include "support/test.h"

namespace {

using namespace vqdb;

using platform::Call;
using platform::Verdict;

struct Setting {
  const char* name;
  std::uint32_t mode;
  std::int32_t buffers;
  Verdict verdict;
  bool and_all_after;
};

void PrintTo(const Setting& setting, std::ostream* out) { *out << setting.name; }

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

  // The file as it lies on the disk: no block twice, and every kept key of these tags found.
  void expect_disk_is_sound(const std::vector<std::string>& tags) {
    write_file(name("CRASH.MDX"), read_file(name("M.MDX")));
    for (const std::string& fault : read("CRASH").faults) {
      EXPECT_EQ(std::string::npos, fault.find(" is in ")) << fault;
      EXPECT_EQ(std::string::npos, fault.find("used twice")) << fault;
      EXPECT_EQ(std::string::npos, fault.find("free list")) << fault;
    }
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
      if (setting.mode == 0 && !HasFailure()) {
        for (const std::string& fault : read().faults) {
          ASSERT_NE(std::string::npos, fault.find("counts ")) << fault;
        }
      }
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
    [](const auto& setting) { return std::string(setting.param.name); });

// Making, copying and rebuilding files: the old file or the new one, and no other file beside it.
TEST_F(MdxFixture, mdx_files_are_made_whole_or_not_at_all) {
  for (std::int32_t n = 1; n <= 300; ++n) {
    ASSERT_EQ(0, lib.dDapprec(table, mdx_record("N", n, n % 28, false, key(n)).data()));
  }
  ASSERT_EQ(0, lib.dDflush(table));
  ASSERT_EQ(0, lib.dXezindx(table, name("OLD").c_str(), "KEYS", "TEXT", nullptr, 0));
  VqIndex* file = open("OLD");
  VqIndex* tag = lib.dXactidx(file, "KEYS");
  ASSERT_EQ(0, lib.dXputkey(tag, key(999).data(), 999));
  ASSERT_EQ(0, lib.dXclose(file));
  const std::string old = read_file(name("OLD.MDX"));
  const std::vector<std::string> files = folder.list();
  const std::function<std::int32_t()> works[] = {
      [&] { return lib.dXreindx(table, name("OLD").c_str()); },
      [&] { return lib.dXcreat(table, name("OLD").c_str()); },
      [&] { return lib.dXcopy(&block, name("SOURCE").c_str(), name("OLD").c_str()); },
      [&] { return lib.dXezindx(table, name("FRESH").c_str(), "KEYS", "TEXT", nullptr, 0); }};
  const auto but_removing = [](Call call) { return call != Call::remove; };
  for (const auto& work : works) {
    for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
      for (std::uint64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        write_file(name("OLD.MDX"), old);
        write_file(name("SOURCE.MDX"), old.substr(0, 2048));
        block.detail = 0;
        std::int32_t result = 0;
        bool struck = false;
        {
          const FaultPlan plan(n, verdict, but_removing);
          result = work();
          struck = plan.struck();
        }
        if (result == 0) {
          (void)std::remove(name("FRESH.MDX").c_str());
          if (!struck) break;
          continue;
        }
        ASSERT_NE(0, std::int32_t{block.detail});
        ASSERT_EQ(old, read_file(name("OLD.MDX")));
        ASSERT_EQ(0, std::remove(name("SOURCE.MDX").c_str()));
        ASSERT_EQ(files, folder.list());
      }
    }
  }
}

}  // namespace
