// The process dies between two writes, at every place of every operation on trees that split,
// shrink and hold runs of equal keys: what was there before is there once, the operation at hand is
// done or not, and the file goes on as if nothing had happened.

#include "support/fault_plan.h"
#include "support/index_calls.h"
#include "support/mdx_fixture.h"
#include "support/ndx_fixture.h"

namespace {

using namespace vqdb;

using Entries = std::vector<IndexEntry>;

struct CrashCase {
  const char* name;
  const char* format;  // of an MDX tag; null: an NDX file
  std::uint32_t mode, distinct_keys;
  std::size_t flushed_together;
};

class IndexCrash : public MdxFixture, public ::testing::WithParamInterface<CrashCase> {
 protected:
  static bool is_mdx() { return GetParam().format != nullptr; }
  std::string path(const std::string& file) { return name(file + (is_mdx() ? ".MDX" : ".NDX")); }

  // An open file and its tree; in an MDX file another tag shares the pages.
  struct Tree {
    VqIndex* file;
    VqIndex* keys;
    VqIndex* other;
  };
  Tree open_tree(const std::string& file_name, std::uint32_t mode) {
    VqIndex* const file =
        (is_mdx() ? lib.dXopen : lib.dNopen)(table, name(file_name).c_str(), mode, 4);
    EXPECT_NE(nullptr, file) << block.result << " " << block.detail;
    if (!is_mdx()) return {file, file, nullptr};
    return {file, lib.dXactidx(file, "KEYS"), lib.dXactidx(file, "OTHER")};
  }
  std::int32_t close_tree(const Tree& tree) { return calls_.close(tree.file); }
  std::int32_t flush(const Tree& tree) { return calls_.flush(tree.file); }
  std::int32_t put(const Tree& tree, const IndexEntry& entry) {
    return calls_.putkey(tree.keys, entry.first.data(), entry.second);
  }
  std::int32_t remove(const Tree& tree, const IndexEntry& entry) {
    return calls_.rmkey(tree.keys, entry.first.data(), entry.second);
  }

  // Entries of before, of the steps and of afterwards share their keys only where few are distinct.
  static IndexEntry entry(std::uint32_t n, std::uint32_t group = 0) {
    const std::uint32_t distinct = GetParam().distinct_keys;
    return {text_of(distinct > 10 ? n * 37 % distinct * 5 + group : n % distinct), n};
  }
  static std::string text_of(std::uint32_t key) {
    return padded("K" + std::to_string(10000 + key), 100);
  }

  // Walks both ways and searches; all of it has to agree.
  Entries walk(const Tree& tree) {
    Entries forward;
    Entries backward;
    IndexEntry at = {std::string(100, '\0'), 0};
    EXPECT_EQ(0, calls_.rewind(tree.keys));
    std::int32_t end = 0;
    while ((end = calls_.nxtkey(tree.keys, at.first.data(), &at.second)) == 0)
      forward.push_back(at);
    EXPECT_EQ(-7, end);
    while ((end = calls_.prvkey(tree.keys, at.first.data(), &at.second)) == 0)
      backward.push_back(at);
    EXPECT_EQ(-6, end);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    for (std::size_t i = 0; i < forward.size(); ++i) {
      if (i > 0 && forward[i].first == forward[i - 1].first) continue;
      std::uint32_t recno = 0;
      EXPECT_EQ(0, calls_.getrno(tree.keys, forward[i].first.data(), &recno));
      EXPECT_EQ(forward[i].second, recno);
    }
    std::ranges::sort(forward);
    return forward;
  }

  void expect_sound(const std::string& file) {
    if (is_mdx()) {
      EXPECT_EQ("", read(file).all_faults());
      EXPECT_EQ(0u, read(file).orphans.size());
    } else {
      EXPECT_EQ("", read_ndx(path(file)).all_faults());
    }
  }

  // One step: entries that come (true) or go, written at its end.
  using Step = std::vector<std::pair<bool, IndexEntry>>;

  bool run(const Tree& tree, const Step& step) {
    bool all = true;
    for (const auto& [comes, one] : step) {
      all = (comes ? put(tree, one) : remove(tree, one)) == 0 && all;
    }
    return all;
  }

  // Without its log the file refuses changes, and stays as it is.
  void expect_refused(std::string torn, std::uint32_t mode) {
    torn[number_at(torn, is_mdx() ? 32 : 4, 4) * 512 + 40] ^= 1;
    write_file(path("TORN"), torn);
    const Tree tree = open_tree("TORN", mode);
    EXPECT_EQ("-8/10344", codes(put(tree, entry(6000)), block));
    EXPECT_EQ("-8/10344", codes(remove(tree, entry(1)), block));
    EXPECT_EQ(0, close_tree(tree));
    EXPECT_EQ(torn, read_file(path("TORN")));
    EXPECT_LE(1, check("TORN"));
  }

  // Makes the file F with these entries; gives what is to become of it, until it is empty.
  std::vector<Step> prepare(Entries& model) {
    if (is_mdx()) {
      create("F");
      VqIndex* file = open("F");
      EXPECT_NE(nullptr, make_tag(file, "KEYS", "TEXT", GetParam().format));
      EXPECT_NE(nullptr, make_tag(file, "OTHER", "TEXT", "C100"));
      EXPECT_EQ(0, lib.dXclose(file));
    } else {
      EXPECT_EQ(0, lib.dNcreat(&block, name("F").c_str(), "TEXT", "C100"));
    }
    std::vector<Step> steps(1);
    const auto add = [&](bool comes, const IndexEntry& one) {
      if (steps.back().size() == GetParam().flushed_together) steps.emplace_back();
      steps.back().push_back({comes, one});
    };
    const Tree tree = open_tree("F", 0);
    for (std::uint32_t n = 240; n > 0; --n) {
      model.push_back(entry(n));
      EXPECT_EQ(0, put(tree, model.back()));
    }
    EXPECT_EQ(0, close_tree(tree));
    for (std::uint32_t n = 0; n < 40; ++n) add(true, entry(1000 + n, 1));
    Entries old = model;
    std::shuffle(old.begin(), old.begin() + 100, std::mt19937(5));
    for (const IndexEntry& one : old) add(false, one);
    for (std::uint32_t n = 0; n < 40; ++n) add(false, entry(1000 + n, 1));
    return steps;
  }
  static void follow(const Step& step, Entries& model) {
    for (const auto& [comes, one] : step) {
      if (comes) {
        model.push_back(one);
      } else {
        std::erase(model, one);
      }
    }
  }

  // The errors that a check finds in the file, without its table.
  std::int32_t check(const std::string& file) {
    return (is_mdx() ? lib.dXcheck : lib.dNcheck)(&block, name(file).c_str(), nullptr, nullptr,
                                                  nullptr);
  }

  // Those of before, each once, and each of the step or not.
  static void expect_entries(const Entries& found, const Step& step, const Entries& before) {
    std::map<IndexEntry, int> count;
    for (const IndexEntry& one : found) ++count[one];
    for (const auto& [comes, one] : step) {
      EXPECT_GE(1, count[one]);
      count.erase(one);
    }
    std::size_t kept = 0;
    for (const IndexEntry& one : before) {
      const auto in_step = [&](const auto& change) { return change.second == one; };
      if (std::ranges::any_of(step, in_step)) continue;
      EXPECT_EQ(1, count[one]) << one.first << one.second;
      ++kept;
    }
    EXPECT_EQ(kept, count.size());
  }

  // The file that a crash left, after which each entry of the step is there or not.
  void expect_recovered(const Step& step, const Entries& before, std::mt19937& random) {
    const std::string left = read_file(path("CRASH"));
    const std::uint32_t mode = random() % 2 == 0 ? 0 : 4;
    if (left[is_mdx() ? 27 : 10] != 0) expect_refused(left, mode);
    EXPECT_EQ(0, check("CRASH"));
    // A reader that stays open while others write, or, since it locks at every step, one alone.
    const bool stays = random() % 4 == 0;
    Tree reader = open_tree("CRASH", stays ? 1 | 4 : 1);
    Entries found = walk(reader);
    EXPECT_EQ(left, read_file(path("CRASH")));  // opened for reading only
    if (!stays) {
      EXPECT_EQ(0, close_tree(reader));
    }
    Tree tree = open_tree("CRASH", mode);
    std::uint32_t recno = 0;  // a shared file is completed by the first step
    (void)calls_.getrno(tree.keys, entry(1).first.data(), &recno);
    EXPECT_EQ(0, close_tree(tree));
    expect_sound("CRASH");
    expect_entries(found, step, before);
    // It goes on.
    tree = open_tree("CRASH", 4 - mode);
    Entries model = found;
    for (std::uint32_t i = 0; i < 12; ++i) {
      if (!model.empty() && random() % 2 == 0) {
        const auto out = model.begin() + static_cast<std::ptrdiff_t>(random() % model.size());
        EXPECT_EQ(0, remove(tree, *out));
        model.erase(out);
      } else {
        model.push_back(entry(5000 + i, 2));
        EXPECT_EQ(0, put(tree, model.back()));
      }
      if (is_mdx()) {
        EXPECT_EQ(0, put({tree.file, tree.other, nullptr}, entry(7000 + i)));
      }
    }
    std::ranges::sort(model);
    EXPECT_EQ(0, close_tree(tree));
    if (!stays) reader = open_tree("CRASH", 1);
    EXPECT_EQ(model, walk(reader));
    EXPECT_EQ(0, close_tree(reader));
    expect_sound("CRASH");
  }

  const IndexCalls calls_ = index_calls(!is_mdx());
};

TEST_P(IndexCrash, every_write_may_be_the_last) {
  Entries model;
  const std::vector<Step> steps = prepare(model);
  Tree tree = {};
  std::mt19937 random(5);
  std::size_t crashes = 0;
  for (const Step& step : steps) {
    const std::string start = read_file(path("F"));
    bool struck = true;
    for (std::uint64_t strike = 1; struck; ++strike) {
      SCOPED_TRACE(crashes);
      write_file(path("F"), start);
      tree = open_tree("F", GetParam().mode);
      {
        const FaultPlan plan(strike, Verdict::fail, only(Call::write), true);
        bool done = run(tree, step);
        if (GetParam().mode == 0) {
          done = flush(tree) == 0 && done;
        }
        struck = plan.struck();
        EXPECT_TRUE(struck || done);
        write_file(path("CRASH"), read_file(path("F")));
        static_cast<void>(close_tree(tree));
      }
      if (!struck) break;
      if (read_file(path("CRASH")) == start) continue;
      ++crashes;
      expect_recovered(step, model, random);
      ASSERT_FALSE(HasFailure());
    }
    follow(step, model);
  }
  EXPECT_LT(steps.size() / 2, crashes);
  tree = open_tree("F", 0);
  EXPECT_EQ(Entries{}, walk(tree));
  EXPECT_EQ(0, close_tree(tree));
  expect_sound("F");
}

INSTANTIATE_TEST_SUITE_P(Trees, IndexCrash,
                         ::testing::Values(CrashCase{"ndx_shared", nullptr, 4, 240, 1},
                                           CrashCase{"ndx_shared_equal", nullptr, 2, 3, 1},
                                           CrashCase{"ndx_exclusive", nullptr, 0, 240, 30},
                                           CrashCase{"ndx_exclusive_equal", nullptr, 0, 3, 30},
                                           CrashCase{"mdx_shared", "C100", 4, 240, 1},
                                           CrashCase{"mdx_shared_unique", "C100U", 2, 240, 1},
                                           CrashCase{"mdx_shared_descending", "C100D", 4, 240, 1},
                                           CrashCase{"mdx_shared_equal", "C100", 4, 2, 1},
                                           CrashCase{"mdx_exclusive", "C100", 0, 240, 40},
                                           CrashCase{"mdx_exclusive_equal", "C100D", 0, 2, 40}),
                         by_name);

// What a device may hold of a file after a loss of power: what it was told to keep, and any of the
// writes since.
class Device {
 public:
  explicit Device(std::string path) : path_(std::move(path)), kept_(read_file(path_)) {}

  // Before a call of the system.
  void note(Call call) {
    if (call != Call::write && call != Call::sync) return;
    const std::string now = read_file(path_);
    if (now != last_) writes_.push_back(difference(last_, now));
    last_ = now;
    if (call == Call::write) return;
    for (std::size_t n = 0; n < 1U << std::min<std::size_t>(writes_.size(), kMostTogether); ++n) {
      const std::size_t chosen = writes_.size() > kMostTogether ? random_() : n;
      std::string state = kept_;
      for (std::size_t i = 0; i < writes_.size(); ++i) {
        if ((chosen >> i & 1) != 0) apply(writes_[i], state);
      }
      states_.insert(state);
    }
    kept_ = now;
    writes_.clear();
  }
  std::set<std::string> take_states() { return std::exchange(states_, {}); }

 private:
  static constexpr std::size_t kMostTogether = 5;
  static constexpr std::size_t kBytes = 1024;  // that reach the device together

  struct Write {
    std::vector<std::pair<std::size_t, std::string>> pieces;
    std::size_t size;  // of the file afterwards
    bool cuts;
  };
  static Write difference(const std::string& old, const std::string& now) {
    Write write = {{}, now.size(), now.size() < old.size()};
    for (std::size_t at = 0; at < now.size(); at += kBytes) {
      const std::string piece = now.substr(at, kBytes);
      if (at >= old.size() || piece != old.substr(at, kBytes)) write.pieces.emplace_back(at, piece);
    }
    return write;
  }
  static void apply(const Write& write, std::string& state) {
    if (write.cuts && state.size() > write.size) state.resize(write.size);
    for (const auto& [at, bytes] : write.pieces) {
      if (state.size() < at + bytes.size()) state.resize(at + bytes.size());
      state.replace(at, bytes.size(), bytes);
    }
  }

  const std::string path_;
  std::string kept_, last_ = kept_;
  std::vector<Write> writes_;
  std::set<std::string> states_;
  std::mt19937 random_{7};
};

class PowerLoss : public IndexCrash {};

TEST_P(PowerLoss, leaves_what_was_flushed) {
  Entries model;
  const std::vector<Step> steps = prepare(model);
  const Tree tree = open_tree("F", GetParam().mode);
  Device device(path("F"));
  std::size_t states = 0;
  for (const Step& step : steps) {
    {
      const FaultPlan plan(0, Verdict::go_on, [&](Call call) {
        device.note(call);
        return false;
      });
      block.runtime_flags = VQ_FLAG_DURABLE;
      EXPECT_TRUE(run(tree, step));
      EXPECT_EQ(0, flush(tree));
      block.runtime_flags = 0;
    }
    for (const std::string& state : device.take_states()) {
      SCOPED_TRACE(++states);
      write_file(path("CRASH"), state);
      EXPECT_EQ(0, check("CRASH"));
      const Tree left = open_tree("CRASH", 0);
      expect_entries(walk(left), step, model);
      EXPECT_EQ(0, close_tree(left));
      expect_sound("CRASH");
      ASSERT_FALSE(HasFailure());
    }
    follow(step, model);
  }
  EXPECT_LT(3 * steps.size(), states);
  EXPECT_EQ(0, close_tree(tree));
}

INSTANTIATE_TEST_SUITE_P(Trees, PowerLoss,
                         ::testing::Values(CrashCase{"ndx_shared", nullptr, 4, 240, 1},
                                           CrashCase{"ndx_exclusive", nullptr, 0, 240, 30},
                                           CrashCase{"mdx_shared_equal", "C100", 4, 2, 1},
                                           CrashCase{"mdx_exclusive", "C100D", 0, 240, 40}),
                         by_name);

// What a handle leaves undone is the next one's that locks the file, whatever came between.
class SharedCrash : public NdxFixture {
 protected:
  static std::string key(std::uint32_t n) {
    return text_key("K" + std::to_string(100000 + n * 377 % 1000), 100);
  }
  static std::int32_t put(VqIndex* index, std::uint32_t n) {
    return lib.dNputkey(index, key(n).data(), n);
  }
  VqIndex* make_filled(std::uint32_t keys) {
    VqIndex* const index = make("F", "C100", 4);
    for (std::uint32_t n = 1; n <= keys; ++n) EXPECT_EQ(0, put(index, n));
    return index;
  }
  std::size_t entries() {
    const NdxTree tree = read("F");
    EXPECT_EQ("", tree.all_faults());
    return tree.entries.size();
  }
  // Fails the writes from the n-th on, so many of them.
  static FaultPlan fail_writes(std::uint64_t n, std::uint64_t count) {
    return FaultPlan(
        1, Verdict::fail,
        [n, count, seen = std::uint64_t{0}](Call call) mutable {
          return call == Call::write && ++seen >= n && seen < n + count;
        },
        true);
  }
};

TEST_F(SharedCrash, a_handle_writes_nothing_old_over_what_others_wrote_since) {
  constexpr std::uint32_t kKeys = 40;
  bool struck = true;
  for (std::uint64_t n = 1; struck; ++n) {
    SCOPED_TRACE(n);
    VqIndex* const first = make_filled(kKeys);
    VqIndex* const second = open("F", 4);
    std::uint32_t present = kKeys;
    struck = false;
    for (std::uint32_t i = 1; i <= 6; ++i) {
      const FaultPlan plan = fail_writes(n, 2);
      if (put(first, kKeys + i) == 0) ++present;
      struck = struck || plan.struck();
    }
    for (std::uint32_t i = 1; i <= 60; ++i) EXPECT_EQ(0, put(second, 100 + i));
    EXPECT_EQ(0, lib.dNflush(first));
    EXPECT_EQ(0, lib.dNclose(first));
    EXPECT_EQ(0, lib.dNclose(second));
    EXPECT_EQ(present + 60, entries());
    ASSERT_FALSE(HasFailure());
    ASSERT_EQ(0, std::remove(folder.file("F.NDX").c_str()));
  }
}

TEST_F(SharedCrash, an_update_loses_no_record) {
  constexpr std::uint32_t kKeys = 120;
  ASSERT_EQ(0, lib.dNclose(make_filled(kKeys)));
  const std::string start = read_file(folder.file("F.NDX"));
  for (std::uint32_t n = 1; n <= kKeys; ++n) {
    bool struck = true;
    for (std::uint64_t strike = 1; struck; ++strike) {
      SCOPED_TRACE(std::to_string(n) + " " + std::to_string(strike));
      write_file(folder.file("F.NDX"), start);
      VqIndex* index = open("F", 4);
      {
        const FaultPlan plan = fail_writes(strike, 1000);
        (void)lib.dNupdkey(index, key(n).data(), key(500 + n).data(), n);
        struck = plan.struck();
        (void)lib.dNclose(index);
      }
      index = open("F", 4);
      std::uint32_t recno = 0;
      EXPECT_TRUE(lib.dNgetrno(index, key(n).data(), &recno) == 0 ||
                  lib.dNgetrno(index, key(500 + n).data(), &recno) == 0);
      ASSERT_EQ(0, lib.dNclose(index));
      ASSERT_FALSE(HasFailure());
    }
  }
}

// A log that a dead process left goes away between two looks of one that opens the file.
TEST_F(SharedCrash, opening_meets_a_log_that_goes_away) {
  const auto size = [&] { return read_file(folder.file("F.NDX")).size(); };
  bool came = true;
  for (std::uint64_t n = 1; came; ++n) {
    SCOPED_TRACE(n);
    ASSERT_EQ(0, lib.dNclose(make_filled(60)));
    const std::size_t pages = size();
    VqIndex* const dying = open("F", 4);
    std::uint32_t next = 61;
    while (size() == pages) {
      const FaultPlan plan = fail_writes(2, 1000);
      (void)put(dying, next++);
    }
    EXPECT_EQ(0, lib.dNclose(dying));
    const std::size_t left = size();
    const auto [opened, got_there] = beside_another(
        n, [&] { return open("F", 4); },
        [&] {
          while (size() >= left && next < 100) {
            VqIndex* const other = open("F", 4);
            EXPECT_EQ(0, put(other, next++));
            EXPECT_EQ(0, lib.dNclose(other));
          }
          EXPECT_GT(left, size());
        });
    came = got_there;
    ASSERT_NE(nullptr, opened) << block.result << " " << block.detail;
    EXPECT_EQ(0, lib.dNclose(opened));
    ASSERT_EQ(0, std::remove(folder.file("F.NDX").c_str()));
  }
}

}  // namespace
