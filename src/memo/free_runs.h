// Free runs in the order of their chain, of which the first that is large enough is found without
// looking at every one: they lie in portions, and a portion without a run that could be meant is
// passed over as a whole.
#ifndef VQDBSYS_MEMO_FREE_RUNS_H_
#define VQDBSYS_MEMO_FREE_RUNS_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace vqdb::memo {

struct Run {
  std::uint32_t first = 0;
  std::uint32_t count = 0;

  constexpr std::uint64_t end() const { return std::uint64_t{first} + count; }
};

constexpr bool overlap(Run a, Run b) { return a.first < b.end() && b.first < a.end(); }

class FreeRuns {
  struct Portion {
    std::vector<Run> runs;  // never empty; has its room from the beginning
    std::uint32_t largest = 0;
    std::uint32_t lowest = UINT32_MAX;  // all blocks lie from here on
    std::uint64_t end = 0;              // and before here

    Portion();
    void widen(Run run);
    bool may_fit(std::uint32_t blocks, Run used) const {
      return largest >= blocks || (lowest < used.end() && used.first < end);
    }
  };

 public:
  // Where a run lies, until another one is put in or taken out.
  class Place {
   public:
    bool operator==(const Place&) const = default;

   private:
    friend class FreeRuns;
    std::size_t portion = 0;
    std::size_t index = 0;
  };

  void clear();
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  Place begin() const { return {}; }
  Place end() const;
  // REQUIRES a run before or behind it.
  Place before(Place place) const;
  Place behind(Place place) const;
  const Run& at(Place place) const { return portions_[place.portion].runs[place.index]; }

  // The first run that has enough blocks or one in common with `used`; end() without one.
  Place find(std::uint32_t blocks, Run used) const;

  void push_front(Run run);
  void push_back(Run run);
  void replace(Place place, Run run);
  void erase(Place place);

  std::vector<Run> all() const;

 private:
  static void recount(Portion& portion);

  std::deque<Portion> portions_;
  std::size_t size_ = 0;
};

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_FREE_RUNS_H_
