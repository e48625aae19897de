// Several processes and handles on one index file: nobody loses a key, locks exclude, and what one
// writes the others find.

#include "support/ndx_fixture.h"
#include "support/process.h"

namespace {

// args: folder file of the table, of the index, mode, first record number, lock scheme. Inserts a
// thousand keys and takes every third one away again.
VQ_CHILD(change_shared_index) {
  VqBlock block = {};
  lib.dUsetnet(&block, std::stoi(args[4]));
  VqTable* table = lib.dDopen(&block, args[0].c_str(), 4, 1);
  VqIndex* index = lib.dNopen(table, args[1].c_str(), std::stoul(args[2]) & 0xFF, 10);
  if (index == nullptr) return 100 - block.result;
  const auto first = static_cast<std::uint32_t>(std::stoul(args[3]));
  say("ready");
  wait_for_line();
  for (std::uint32_t i = 0; i < 1000; ++i) {
    const std::string key = text_key("K" + std::to_string(i * 7919 % 1009), 20);
    if (lib.dNputkey(index, key.data(), first + i) != 0) return 1;
    std::uint32_t recno = 0;
    if (lib.dNgetrno(index, key.data(), &recno) != 0) return 3;
    if (i % 3 == 0 && lib.dNrmkey(index, key.data(), first + i) != 0) return 2;
    const std::string moved = text_key("M" + key, 20);
    if (i % 3 == 1 && lib.dNupdkey(index, key.data(), moved.data(), first + i) != 0) return 6;
  }
  if (lib.dNclose(index) != 0) return 4;
  return lib.dDclose(table) == 0 ? 0 : 5;
}

using SharedNdx = NdxFixture;

TEST_F(SharedNdx, processes_that_change_one_index_lose_nothing) {
  struct Case {
    std::uint32_t mode;
    int scheme;
  };
  for (const Case& c : {Case{2, 0}, Case{4, 1}, Case{4, 5}}) {
    SCOPED_TRACE(c.scheme);
    const std::string name = folder.file("S");
    ASSERT_EQ(0, lib.dNcreat(&block, name.c_str(), "NAME", "C20"));
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < 3; ++i) {
      children.push_back(std::make_unique<Child>(
          "change_shared_index",
          Arguments{folder.file("TABLE"), name, std::to_string(c.mode),
                    std::to_string(1 + i * 1000), std::to_string(c.scheme)}));
      ASSERT_EQ("ready", children.back()->read_line());
    }
    for (auto& child : children) child->write_line("go");
    for (auto& child : children) EXPECT_EQ(0, child->wait());
    const NdxTree tree = read("S");
    EXPECT_EQ("", tree.all_faults());
    std::vector<NdxEntry> expected;
    for (std::uint32_t recno = 1; recno <= 3000; ++recno) {
      const std::uint32_t i = (recno - 1) % 1000;
      if (i % 3 == 0) continue;
      const std::string key = text_key("K" + std::to_string(i * 7919 % 1009), 20);
      expected.emplace_back(i % 3 == 1 ? text_key("M" + key, 20) : key, recno);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected, tree.sorted());
  }
}

// Another handle removes the entry that a walk over equal keys stands at, and at times its
// neighbours: the walk goes on where it was.
TEST_F(SharedNdx, walk_over_equal_keys_goes_on_from_a_removed_entry) {
  const std::string key = text_key("SAME", 60);
  for (const bool forward : {true, false}) {
    for (const std::uint32_t taken : {1u, 2u, 5u}) {
      SCOPED_TRACE(taken);
      VqIndex* walker = make("W", "C60", 4);
      VqIndex* other = open("W", 4);
      for (std::uint32_t recno = 1; recno <= 400; ++recno) {
        ASSERT_EQ(0, lib.dNputkey(other, key.data(), recno));
      }
      ASSERT_EQ(0, lib.dNputkey(other, text_key("A", 60).data(), 1000));
      ASSERT_EQ(0, lib.dNputkey(other, text_key("Z", 60).data(), 1000));
      // From front to back the run falls.
      std::set<std::uint32_t> there;
      for (std::uint32_t recno = 1; recno <= 400; ++recno) there.insert(recno);
      ASSERT_EQ(0, forward ? lib.dNrewind(walker) : lib.dNforwrd(walker));
      const auto move = forward ? lib.dNnxtkey : lib.dNprvkey;
      std::string found = key;
      std::uint32_t recno = 0;
      ASSERT_EQ(0, move(walker, found.data(), &recno));
      while (!there.empty()) {
        const std::uint32_t expected = forward ? *there.rbegin() : *there.begin();
        ASSERT_EQ(0, move(walker, found.data(), &recno));
        ASSERT_EQ(expected, recno);
        there.erase(recno);
        if (recno % (3 * taken) != 0) continue;
        for (std::uint32_t n = recno - taken / 2; n <= recno + taken / 2; ++n) {
          if (n < 1 || n > 400) continue;
          there.erase(n);
          ASSERT_TRUE(lib.dNrmkey(other, key.data(), n) == 0 || taken > 1);
        }
      }
      ASSERT_EQ(0, move(walker, found.data(), &recno));
      EXPECT_EQ(1000u, recno);
      EXPECT_EQ(0, lib.dNclose(other));
      EXPECT_EQ(0, lib.dNclose(walker));
    }
  }
}

// While a walk over equal keys stands still, another handle takes entries away, adds some, and
// moves some away and back: whatever nobody touched since the walk began is met, in both
// directions.
TEST_F(SharedNdx, walk_over_equal_keys_misses_nothing_that_stayed) {
  const std::string key = text_key("SAME", 60);
  const std::string aside = text_key("TEMP", 60);
  for (std::uint32_t seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto any = [&](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); };
    const bool forward = seed % 2 == 0;
    VqIndex* walker = make("W", "C60", 4);
    VqIndex* other = open("W", 4);
    const std::uint32_t count = 1 + any(60);
    std::set<std::uint32_t> untouched;
    for (std::uint32_t recno = 1; recno <= count; ++recno) {
      ASSERT_EQ(0, lib.dNputkey(other, key.data(), recno));
      untouched.insert(recno);
    }
    std::set<std::uint32_t> there = untouched;
    std::set<std::uint32_t> missed = untouched;
    ASSERT_EQ(0, forward ? lib.dNrewind(walker) : lib.dNforwrd(walker));
    const auto move = forward ? lib.dNnxtkey : lib.dNprvkey;
    std::string found = key;
    std::uint32_t recno = 0, added = count;
    for (std::uint32_t step = 0; move(walker, found.data(), &recno) == 0; ++step) {
      ASSERT_EQ(key, found);
      ASSERT_TRUE(there.contains(recno)) << recno;
      missed.erase(recno);
      if (step >= 2 * count || any(2) == 0) continue;
      // Mostly the entry that the walk stands at and its neighbours.
      const std::uint32_t near = recno + any(3) - 1;
      const std::uint32_t which = there.contains(near) ? near : *there.begin();
      const std::uint32_t choice = any(8);
      if (choice < 2) {
        ASSERT_EQ(0, lib.dNputkey(other, key.data(), ++added));
        there.insert(added);
        continue;
      }
      untouched.erase(which);
      if (choice == 2 && there.size() > 1) {
        ASSERT_EQ(0, lib.dNrmkey(other, key.data(), which));
        there.erase(which);
      } else {
        ASSERT_EQ(0, lib.dNupdkey(other, key.data(), aside.data(), which));
        ASSERT_EQ(0, lib.dNupdkey(other, aside.data(), key.data(), which));
      }
    }
    for (const std::uint32_t one : missed) EXPECT_FALSE(untouched.contains(one)) << one;
    EXPECT_EQ(0, lib.dNclose(other));
    EXPECT_EQ(0, lib.dNclose(walker));
  }
}

// Leaves of four: A 6 5 4 | 1. Away and back, the last entry ends its leaf again: A 1 | 6 5 4.
TEST_F(SharedNdx, walk_back_is_not_misled_by_an_entry_that_ends_another_leaf) {
  const auto name = [](const char* text) { return text_key(text, 100); };
  VqIndex* walker = make("W", "C100", 4);
  VqIndex* other = open("W", 4);
  for (std::uint32_t recno : {1, 2, 3, 4}) {
    ASSERT_EQ(0, lib.dNputkey(other, name("B").data(), recno));
  }
  ASSERT_EQ(0, lib.dNputkey(other, name("A").data(), 100));
  for (std::uint32_t recno : {5, 6}) ASSERT_EQ(0, lib.dNputkey(other, name("B").data(), recno));
  for (std::uint32_t recno : {3, 2}) ASSERT_EQ(0, lib.dNrmkey(other, name("B").data(), recno));
  std::string found = name("");
  std::uint32_t recno = 0;
  ASSERT_EQ(0, lib.dNforwrd(walker));
  ASSERT_EQ(0, lib.dNprvkey(walker, found.data(), &recno));
  ASSERT_EQ(1u, recno);
  ASSERT_EQ(0, lib.dNupdkey(other, name("B").data(), name("Z").data(), 1));
  ASSERT_EQ(0, lib.dNupdkey(other, name("Z").data(), name("B").data(), 1));
  ASSERT_EQ(0, lib.dNprvkey(walker, found.data(), &recno));
  EXPECT_EQ(4u, recno);
  EXPECT_EQ(0, lib.dNclose(other));
  EXPECT_EQ(0, lib.dNclose(walker));
}

class NdxHandles : public NdxFixture, public ::testing::WithParamInterface<std::uint32_t> {};

// Handles search, step, insert, remove and move keys in turn; what one has come to another moves.
TEST_P(NdxHandles, handles_in_turn_agree_with_a_model) {
  for (const std::uint32_t distinct : {9u, 400u}) {
    SCOPED_TRACE(distinct);
    std::mt19937 random(distinct);
    const auto any_key = [&] { return text_key("K" + std::to_string(random() % distinct), 40); };
    std::vector<VqIndex*> handles = {make("M", "C40", GetParam())};
    const bool alone = GetParam() == 0;
    while (!alone && handles.size() < 3) handles.push_back(open("M", GetParam()));
    std::set<NdxEntry> model;
    std::vector<NdxEntry> last(handles.size());  // what each handle came to
    for (std::uint32_t step = 1; step <= 6000; ++step) {
      const std::size_t at = random() % handles.size();
      VqIndex* const index = handles[at];
      NdxEntry& here = last[at];
      // Mostly the entry that the handle has come to, as a user who finds, edits and saves.
      const NdxEntry old = model.empty() || random() % 3 != 0
                               ? here
                               : *std::next(model.begin(), random() % model.size());
      const std::uint32_t choice = random() % 8;
      if (choice < 3) {
        here = {any_key(), step};
        ASSERT_EQ(0, lib.dNputkey(index, here.first.data(), here.second));
        model.insert(here);
      } else if (choice == 3 && old.second != 0) {
        ASSERT_EQ(model.erase(old) == 1 ? 0 : -5, lib.dNrmkey(index, old.first.data(), old.second));
      } else if (choice == 4 && old.second != 0) {
        const std::string key = any_key();
        const bool held = model.erase(old) == 1;
        ASSERT_EQ(held ? 0 : -5, lib.dNupdkey(index, old.first.data(), key.data(), old.second));
        if (held) model.emplace(key, old.second);
      } else if (choice == 5) {
        const std::string key = any_key();
        const auto first = model.lower_bound({key, 0});
        here.first = key;
        ASSERT_EQ(first != model.end() && first->first == key ? 0 : -5,
                  lib.dNgetrno(index, key.data(), &here.second));
      } else {
        here.first.resize(40);
        const auto move = choice == 6 ? lib.dNnxtkey : lib.dNprvkey;
        const int32_t result = move(index, here.first.data(), &here.second);
        ASSERT_TRUE(result == 0 ? model.contains(here) : result == (choice == 6 ? -7 : -6));
      }
    }
    for (VqIndex* index : handles) ASSERT_EQ(0, lib.dNclose(index));
    const NdxTree tree = read("M");
    EXPECT_EQ("", tree.all_faults());
    EXPECT_EQ(std::vector<NdxEntry>(model.begin(), model.end()), tree.sorted());
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, NdxHandles, ::testing::Values(0u, 2u, 4u));

using NdxLocks = NdxFixture;

TEST_F(NdxLocks, one_handle_at_a_time_holds_the_file) {
  for (const int32_t scheme : {0, 1, 2, 3}) {
    SCOPED_TRACE(scheme);
    ASSERT_EQ(0, lib.dDclose(table));
    lib.dUsetnet(&block, scheme);
    table = lib.dDopen(&block, folder.file("TABLE").c_str(), 4, 1);
    VqIndex* mine = make("L", "C10", 4);
    VqIndex* theirs = open("L", 4);
    ASSERT_NE(nullptr, theirs);
    EXPECT_EQ("-35/3143", codes(lib.dNlkfsta(mine), block));
    EXPECT_EQ("-35/3223", codes(lib.dNulkfil(mine), block));
    EXPECT_EQ(0, lib.dNlkfil(mine));
    EXPECT_EQ(0, lib.dNlkfil(mine));
    EXPECT_EQ(0, lib.dNlkfsta(mine));
    EXPECT_EQ("-37/3144", codes(lib.dNlkfsta(theirs), block));
    block.system_error = 0;
    EXPECT_EQ("-38/3133", codes(lib.dNlkfil(theirs), block));
    EXPECT_NE(0, int32_t{block.system_error});
    // The holder works on, and has written when it lets go.
    ASSERT_EQ(0, lib.dNputkey(mine, text_key("A", 10).data(), 5));
    EXPECT_EQ(0, lib.dNulkfil(mine));
    uint32_t recno = 0;
    EXPECT_EQ(0, lib.dNgetrno(theirs, text_key("A", 10).data(), &recno));
    EXPECT_EQ(5u, recno);
    EXPECT_EQ(0, lib.dNlkfil(theirs));
    EXPECT_EQ(0, lib.dNclose(theirs));
    EXPECT_EQ(-35, lib.dNlkfsta(mine));
    EXPECT_EQ(0, lib.dNclose(mine));
  }
}

TEST_F(NdxLocks, schemes_without_locks_refuse_them_and_work_on) {
  ASSERT_EQ(0, lib.dDclose(table));
  lib.dUsetnet(&block, 4);
  table = lib.dDopen(&block, folder.file("TABLE").c_str(), 4, 1);
  VqIndex* index = make("L", "C10", 4);
  EXPECT_EQ("-13/3132", codes(lib.dNlkfil(index), block));
  EXPECT_EQ("-13/3222", codes(lib.dNulkfil(index), block));
  EXPECT_EQ("-13/3142", codes(lib.dNlkfsta(index), block));
  EXPECT_EQ(0, lib.dNputkey(index, text_key("A", 10).data(), 5));
  EXPECT_EQ(0, lib.dNclose(index));
}

}  // namespace
