#include <atomic>
#include <thread>

#include "frame/handle_pool.h"
#include "support/fault_plan.h"

namespace {

using vqdb::HandleHead;
using vqdb::HandlePool;

struct Door : HandleHead {
  explicit Door(int opened_by = 0) : owner(opened_by) { ++standing; }
  ~Door() { --standing; }

  std::int64_t owner;
  static inline std::atomic<int> standing = 0;
};

Door* open_live(HandlePool<Door>& pool, VqBlock* block, int owner = 0) {
  Door* door = pool.open(block, owner);
  if (door != nullptr) door->signature = vqdb::kHandleSignature;
  return door;
}

TEST(HandlePool, tells_live_handles_from_null_foreign_closed_and_crooked_ones) {
  static HandlePool<Door> pool;  // its slabs stay for good
  VqBlock block = {};
  Door foreign;
  foreign.signature = vqdb::kHandleSignature;
  EXPECT_EQ(nullptr, pool.find(nullptr));
  EXPECT_EQ(nullptr, pool.find(&foreign));

  Door* const unsigned_yet = pool.open(&block);
  EXPECT_EQ(nullptr, pool.find(unsigned_yet));
  Door* const door = open_live(pool, &block);
  EXPECT_EQ(door, pool.find(door));
  EXPECT_EQ(nullptr, pool.find(reinterpret_cast<char*>(door) + 4));
  EXPECT_EQ(nullptr, pool.find(door + 1000000));
  // Not even where what lies there looks like a handle.
  door->owner = vqdb::kHandleSignature;
  const auto head = reinterpret_cast<char*>(&door->signature) - reinterpret_cast<char*>(door);
  EXPECT_EQ(nullptr, pool.find(reinterpret_cast<char*>(&door->owner) - head));
  EXPECT_EQ(nullptr, pool.block_of(&foreign));
  EXPECT_EQ(nullptr, pool.block_of(nullptr));

  const int standing = Door::standing;
  pool.close(door);
  EXPECT_EQ(standing - 1, Door::standing);
  EXPECT_EQ(nullptr, pool.find(door));
  EXPECT_EQ(&block, pool.block_of(door)) << "a late caller's detail code has somewhere to go";
  EXPECT_EQ(0u, door->signature);
  pool.close(unsigned_yet);
}

TEST(HandlePool, lets_closed_slots_rest_and_reuses_the_longest_closed_first) {
  static HandlePool<Door> pool;
  std::vector<Door*> closed;
  for (std::size_t i = 0; i < vqdb::kRestingSlots; ++i) {
    Door* const door = open_live(pool, nullptr);
    ASSERT_TRUE(std::find(closed.begin(), closed.end(), door) == closed.end()) << i;
    closed.push_back(door);
    pool.close(door);
  }
  std::vector<Door*> live;
  for (Door* const oldest : closed) {
    ASSERT_EQ(oldest, open_live(pool, nullptr));
    live.push_back(oldest);
    pool.close(open_live(pool, nullptr));
    if (live.size() == 100) break;
  }
  for (int i = 0; i < 10000; ++i) {  // across several slabs
    ASSERT_NE(nullptr, open_live(pool, nullptr));
  }
  for (Door* const each : live) EXPECT_EQ(each, pool.find(each));
}

TEST(HandlePool, gives_null_without_memory_and_goes_on_when_there_is_some_again) {
  static HandlePool<Door> pool;
  {
    const FaultPlan plan(1, Verdict::fail, nullptr, true);
    for (int i = 0; i < 100 && pool.open(nullptr) != nullptr; ++i) {
    }
    EXPECT_EQ(nullptr, pool.open(nullptr));
  }
  EXPECT_NE(nullptr, pool.open(nullptr));
}

TEST(HandlePool, serves_threads_at_the_same_time) {
  static HandlePool<Door> pool;
  std::atomic<int> mixed_up = 0;
  const auto work = [&mixed_up](int owner) {
    std::vector<Door*> mine;
    for (int round = 0; round < 2000; ++round) {
      mine.push_back(open_live(pool, nullptr, owner));
      for (Door* door : mine) {
        if (pool.find(door) != door || door->owner != owner) ++mixed_up;
      }
      if (round % 3 != 0 || mine.size() > 50) {
        Door* const oldest = mine.front();
        mine.erase(mine.begin());
        pool.close(oldest);
      }
    }
  };
  std::vector<std::thread> threads;
  for (int owner = 0; owner < 4; ++owner) threads.emplace_back(work, owner);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, mixed_up);
}

}  // namespace
