// Whole histories of several tags in one file, or of as many NDX files, by one handle or by several
// of a shared file: entries come and go, tags are dropped and made again. Checked against a model
// and, byte by byte, by the checker: every block of an MDX file is in one tree or in the free list.

#include "support/index_calls.h"
#include "support/mdx_fixture.h"
#include "support/ndx_fixture.h"

namespace {

struct TagKind {
  const char* name;
  const char* expression;
  const char* format;
  const char* ndx_format;
  std::size_t key_length;
  std::int32_t distinct_keys;

  char type() const { return format[0] == 'F' ? 'N' : format[0]; }
  bool unique() const { return std::string(format).back() == 'U'; }
  bool is_text() const { return format[0] == 'C'; }
};

constexpr TagKind kTags[] = {
    {"NAMES", "NAME", "C20", "C20", 20, 100000},   {"AMOUNTS", "AMOUNT", "ND", "3N", 12, 3000},
    {"DAYS", "DUE", "DU", "DU", 8, 50000},         {"TEXTS", "TEXT", "C100D", "C100", 100, 400},
    {"LETTERS", "LEFT(NAME,1)", "C1", "C1", 1, 5}, {"NUMBERS", "-AMOUNT", "FU", "NU", 12, 4000},
};
constexpr std::size_t kTagCount = std::size(kTags);

struct History {
  const char* name;
  std::uint32_t block_pages;  // 0: NDX files
  std::int32_t buffers;
  std::vector<std::uint32_t> modes;  // of the handles
  int operations;
};

class IndexHistory : public MdxFixture, public ::testing::WithParamInterface<History> {
 protected:
  using Model = std::vector<IndexEntry>;

  // One handle of the file, with a handle of each of its tags.
  struct User {
    std::uint32_t mode;
    VqIndex* file = nullptr;
    std::array<VqIndex*, kTagCount> tags = {};
  };

  static bool is_ndx() { return GetParam().block_pages == 0; }
  static std::size_t length_of(std::size_t at) {
    return is_ndx() && !kTags[at].is_text() ? 8 : kTags[at].key_length;
  }
  void each_file(const std::function<void(VqIndex*)>& work) {
    for (const User& user : users_) {
      if (!is_ndx()) work(user.file);
      for (VqIndex* const file : user.tags) {
        if (is_ndx() && file != nullptr) work(file);
      }
    }
  }
  TreeReport tree(std::size_t at) {
    if (!is_ndx()) return read().tag(kTags[at].name);
    return read_ndx(name(kTags[at].name) + ".NDX");
  }
  void make(std::size_t at) {
    const TagKind& kind = kTags[at];
    ASSERT_EQ(
        0, is_ndx() ? lib.dNcreat(&block, name(kind.name).c_str(), kind.expression, kind.ndx_format)
                    : lib.dXindex(users_[pick(users_.size())].file, kind.name, kind.expression,
                                  kind.format, nullptr))
        << block.detail;
  }
  void open_users() {
    for (const std::uint32_t mode : GetParam().modes) {
      users_.push_back({mode, is_ndx() ? nullptr : open("M", mode, GetParam().buffers)});
      ASSERT_TRUE(is_ndx() || users_.back().file != nullptr) << block.detail;
    }
  }
  void close_users() {
    each_file([&](VqIndex* file) { ASSERT_EQ(0, calls_.close(file)); });
    users_.clear();
  }

  std::uint32_t pick(std::size_t count) { return static_cast<std::uint32_t>(random_() % count); }

  // The tag's handle of some user.
  VqIndex* some_handle(std::size_t at) {
    User& user = users_[pick(users_.size())];
    if (user.tags[at] == nullptr) {
      const char* const tag = kTags[at].name;
      user.tags[at] = is_ndx() ? lib.dNopen(table, name(tag).c_str(), user.mode, GetParam().buffers)
                               : lib.dXactidx(user.file, tag);
    }
    EXPECT_NE(nullptr, user.tags[at]) << block.detail;
    return user.tags[at];
  }

  std::string some_key(std::size_t at) {
    const TagKind& kind = kTags[at];
    const auto n = static_cast<std::int32_t>(pick(static_cast<std::size_t>(kind.distinct_keys)));
    if (is_ndx() && !kind.is_text()) return number_key(n - 5000.5);
    return mdx_key(kind.type(), kind.key_length, n);
  }
  bool holds(std::size_t at, const std::string& key) const { return keys_[at].contains(key); }

  void insert(std::size_t at) {
    const std::string key = some_key(at);
    const std::uint32_t recno = next_recno_++;
    const bool refused = kTags[at].unique() && holds(at, key);
    ASSERT_EQ(refused ? -8 : 0, calls_.putkey(some_handle(at), key.data(), recno)) << block.detail;
    if (refused) return;
    models_[at].emplace_back(key, recno);
    keys_[at].insert(key);
  }

  void remove(std::size_t at) {
    IndexEntry& entry = models_[at][pick(models_[at].size())];
    ASSERT_EQ(0, calls_.rmkey(some_handle(at), entry.first.data(), entry.second)) << block.detail;
    ASSERT_EQ(-5, calls_.rmkey(some_handle(at), entry.first.data(), entry.second));
    keys_[at].erase(keys_[at].find(entry.first));
    entry = models_[at].back();
    models_[at].pop_back();
  }

  void update(std::size_t at) {
    IndexEntry& entry = models_[at][pick(models_[at].size())];
    const std::string key = some_key(at);
    const bool refused = kTags[at].unique() && key != entry.first && holds(at, key);
    // As a host does it: find, then change what was found.
    std::uint32_t recno = 0;
    VqIndex* const tag = some_handle(at);
    ASSERT_EQ(0, calls_.getrno(tag, entry.first.data(), &recno));
    ASSERT_EQ(refused ? -8 : 0, calls_.updkey(tag, entry.first.data(), key.data(), entry.second));
    if (refused) return;
    keys_[at].erase(keys_[at].find(entry.first));
    keys_[at].insert(key);
    entry.first = key;
  }

  void drop_and_make_again(std::size_t at) {
    const User& user = users_[pick(users_.size())];
    ASSERT_EQ(0, lib.dXdeltag(user.file, kTags[at].name)) << block.detail;
    for (User& other : users_) {
      if (other.tags[at] == nullptr) continue;
      std::uint32_t recno = 0;
      const std::string key = some_key(at);
      ASSERT_EQ(-10, calls_.putkey(other.tags[at], key.data(), 1)) << block.detail;
      ASSERT_EQ(-10, calls_.nxtkey(other.tags[at], std::string(100, ' ').data(), &recno));
      ASSERT_EQ(0, lib.dXdeaidx(other.tags[at]));
      other.tags[at] = nullptr;
    }
    models_[at].clear();
    keys_[at].clear();
    make(at);
  }

  void verify() {
    each_file([&](VqIndex* file) { ASSERT_EQ(0, calls_.flush(file)); });
    if (!is_ndx()) {
      ASSERT_EQ("", read().all_faults());
      ASSERT_EQ(0u, read().orphans.size());
    }
    for (std::size_t at = 0; at < kTagCount; ++at) {
      SCOPED_TRACE(kTags[at].name);
      const TreeReport tag = tree(at);
      ASSERT_EQ("", tag.all_faults());
      std::ranges::sort(models_[at]);
      ASSERT_EQ(models_[at], tag.sorted());
      walk(at, tag);
    }
  }

  // The library steps through the same entries in the same order, both ways, and finds them.
  void walk(std::size_t at, const TreeReport& tag) {
    VqIndex* const handle = some_handle(at);
    const std::size_t length = length_of(at);
    const auto count = static_cast<std::uint32_t>(tag.entries.size());
    std::string found(length, '\0');
    std::string keys(length * (count + 1), '\0');
    std::vector<std::uint32_t> recnos(count + 1);
    std::uint32_t recno = 0;
    ASSERT_EQ(0, calls_.rewind(handle));
    ASSERT_EQ(-7, calls_.nxtkeys(handle, count + 1, keys.data(), recnos.data(), &recno));
    ASSERT_EQ(count, recno);
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_EQ(tag.entries[i], IndexEntry(keys.substr(i * length, length), recnos[i]));
    }
    ASSERT_EQ(0, calls_.seeks(handle, keys.data(), count, recnos.data(), &recno));
    ASSERT_EQ(count, recno);
    for (std::size_t i = 0, first = 0; i < count; ++i) {
      if (tag.entries[i].first != tag.entries[first].first) first = i;
      ASSERT_EQ(tag.entries[first].second, recnos[i]);
    }
    ASSERT_EQ(0, calls_.forwrd(handle));
    for (std::size_t i = tag.entries.size(); i-- > 0;) {
      ASSERT_EQ(0, calls_.prvkey(handle, found.data(), &recno));
      ASSERT_EQ(tag.entries[i], IndexEntry(found, recno));
    }
    ASSERT_EQ(-6, calls_.prvkey(handle, found.data(), &recno));
  }

  const IndexCalls calls_ = index_calls(is_ndx());
  std::mt19937 random_{20};
  std::vector<User> users_;
  std::array<Model, kTagCount> models_;
  std::array<std::multiset<std::string>, kTagCount> keys_;
  std::uint32_t next_recno_ = 1;
};

TEST_P(IndexHistory, agrees_with_a_model) {
  if (!is_ndx()) create("M", GetParam().block_pages);
  open_users();
  for (std::size_t at = 0; at < kTagCount; ++at) make(at);
  // Grow, churn, shrink to nothing, and grow again.
  std::uint32_t most_pages = 0;
  for (const std::uint32_t removals_in_ten : {2u, 5u, 9u, 2u, 9u, 3u}) {
    for (int i = 0; i < GetParam().operations / 6; ++i) {
      const std::size_t at = pick(kTagCount);
      const bool any = !models_[at].empty();
      if (!is_ndx() && pick(2000) == 0) {
        ASSERT_NO_FATAL_FAILURE(drop_and_make_again(at));
      } else if (any && pick(10) < removals_in_ten) {
        ASSERT_NO_FATAL_FAILURE(remove(at));
      } else if (any && pick(4) == 0) {
        ASSERT_NO_FATAL_FAILURE(update(at));
      } else {
        ASSERT_NO_FATAL_FAILURE(insert(at));
      }
    }
    ASSERT_NO_FATAL_FAILURE(verify());
    if (most_pages == 0 && !is_ndx()) most_pages = read().pages;
  }
  for (std::size_t at = 0; at < kTagCount; ++at) {
    while (!models_[at].empty()) ASSERT_NO_FATAL_FAILURE(remove(at));
  }
  ASSERT_NO_FATAL_FAILURE(verify());
  close_users();
  // What was let go was used again.
  EXPECT_TRUE(is_ndx() || read().pages <= most_pages * 3);
  for (std::size_t at = 0; at < kTagCount; ++at) EXPECT_EQ(1u, tree(at).depth);
}

// Other programs write into each page which one is left of it: what is left of that is right.
TEST_F(MdxFixture, left_neighbours_that_others_wrote_are_right_or_none) {
  create();
  VqIndex* file = open("M", 4, 4);
  VqIndex* tag = make_tag(file, "TEXT", "TEXT", "C100");
  std::mt19937 random(7);
  std::vector<std::uint32_t> held;
  const auto key = [](std::uint32_t n) {
    return mdx_key('C', 100, static_cast<std::int32_t>(n * 7919 % 10000));
  };
  for (const std::uint32_t removals_in_ten : {1u, 4u, 8u, 2u}) {
    for (const auto& [page, left] : read().tag("TEXT").neighbours) {
      write_bytes(name("M.MDX"), page * std::size_t{512} + 4, le32(left));
    }
    for (int i = 0; i < 1200; ++i) {
      if (held.empty() || random() % 10 >= removals_in_ten) {
        held.push_back(static_cast<std::uint32_t>(random() % 100000 + 1));
        ASSERT_EQ(0, lib.dXputkey(tag, key(held.back()).data(), held.back()));
      } else {
        std::swap(held[random() % held.size()], held.back());
        ASSERT_EQ(0, lib.dXrmkey(tag, key(held.back()).data(), held.back()));
        held.pop_back();
      }
      if (i % 10 == 0) {
        ASSERT_EQ("", read().all_faults());
      }
    }
  }
  EXPECT_LE(4u, read().tag("TEXT").depth);
  EXPECT_EQ(0, lib.dXclose(file));
}

INSTANTIATE_TEST_SUITE_P(
    Settings, IndexHistory,
    ::testing::Values(History{"exclusive_4_buffers", 2, 4, {0}, 60000},
                      History{"exclusive_1000_buffers", 2, 1000, {0}, 150000},
                      History{"exclusive_long_blocks", 7, 50, {0}, 60000},
                      History{"two_in_mode_2", 2, 20, {2, 2}, 15000},
                      History{"ndx_4_buffers", 0, 4, {0}, 100000},
                      History{"ndx_1000_buffers", 0, 1000, {0}, 300000},
                      History{"ndx_three_in_modes_2_and_4", 0, 20, {4, 2, 4}, 15000},
                      History{"three_in_modes_2_and_4", 3, 300, {4, 2, 4}, 15000}),
    by_name);

}  // namespace
