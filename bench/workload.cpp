#include "workload.h"

#include "customers.h"

namespace vqdb::bench {

std::vector<Workload>& workloads() {
  static std::vector<Workload> all;
  return all;
}

void run_side(Workload& workload, Side side, benchmark::State& state) {
  const Sum sum = side(state);
  require(sum == workload.sum.value_or(sum), ("come to the same sum: " + workload.name).c_str());
  workload.sum = sum;
  if (state.counters.count("items_per_second") != 0) return;
  state.SetItemsProcessed(static_cast<std::int64_t>(record_count()));
}

}  // namespace vqdb::bench
