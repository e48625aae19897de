// The list of what is measured. A workload has up to three sides that do the same work: this
// library, the yardstick beside it, and the least that the system asks for. Each side is an
// ordinary Google Benchmark function that runs its work once per measured iteration and returns
// what the work came to: every run of every side of a workload has to come to the same. The report
// sets the sides' best rates in relation to each other and to the targets.
#ifndef VQDBSYS_BENCH_WORKLOAD_H_
#define VQDBSYS_BENCH_WORKLOAD_H_

#include <benchmark/benchmark.h>

#include <optional>
#include <string>
#include <vector>

#include "require.h"
#include "sum.h"

namespace vqdb::bench {

using Side = Sum (*)(benchmark::State&);

struct Workload {
  int order;         // place in the report
  std::string name;  // in the report; no '/'
  Side ours;
  Side yardstick;           // may be null
  double yardstick_target;  // least ratio of our rate to the yardstick's; 0: none
  Side limit = nullptr;
  double limit_target = 0;
  int rounds = 5;  // how often each side runs, in turns
  std::string yardstick_name = "SQLite";
  bool has_ways = true;                   // SQLite may be set up in other ways
  std::optional<Sum> sum = std::nullopt;  // of the sides that have run
};

// The workloads registered so far, by their order.
std::vector<Workload>& workloads();

// Runs a side. Its items are the records, unless it counts them itself. Ends the program where the
// work comes to something else than another run of the workload.
void run_side(Workload& workload, Side side, benchmark::State& state);

// Declare one at namespace scope to add a workload.
struct Register {
  explicit Register(Workload workload) { workloads().push_back(std::move(workload)); }
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_WORKLOAD_H_
