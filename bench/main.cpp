// Runs every workload's sides in turns and prints their best rates as one table of ratios, then
// what open handles take from memory. Takes the options of Google Benchmark; --benchmark_filter
// selects by "workload/side".

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "memory.h"
#include "sqlite.h"
#include "workload.h"

namespace vqdb::bench {

namespace {

// Keeps the best rate of each side over all rounds.
class Rates : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const auto counter = run.counters.find("items_per_second");
      if (run.error_occurred || counter == run.counters.end()) continue;
      double& best = best_[run.run_name.function_name];
      best = std::max(best, counter->second.value);
      std::fprintf(stderr, "%-46s %10.3f M/s\n", run.run_name.function_name.c_str(),
                   counter->second.value / 1e6);
    }
  }

  double of(const Workload& workload, const std::string& side) const {
    const auto found = best_.find(workload.name + "/" + side);
    return found == best_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> best_;
};

// The ways of SQLite beside the usual one, of which each workload's best is told, take minutes:
// they run where VQDB_BENCH_SQLITE is set.
bool tries_ways() { return std::getenv("VQDB_BENCH_SQLITE") != nullptr; }

bool has_ways(const Workload& workload) {
  return tries_ways() && workload.has_ways && workload.yardstick_name == "SQLite" &&
         workload.yardstick != nullptr;
}

std::string side_of_way(std::size_t way) {
  return way == 0 ? "SQLite" : std::string("SQLite, ") + kSqliteWays[way].name;
}

std::string rate_text(double rate) {
  char text[32];
  std::snprintf(text, sizeof text, rate == 0 ? "" : "%.3f", rate / 1e6);
  return text;
}

std::string ratio_text(double ours, double other) {
  char text[32];
  std::snprintf(text, sizeof text, ours == 0 || other == 0 ? "" : "%.2f", ours / other);
  return text;
}

std::string target_text(const Workload& workload) {
  std::string text;
  char part[64];
  if (workload.yardstick_target > 0) {
    std::snprintf(part, sizeof part, "%.2f %s", workload.yardstick_target,
                  workload.yardstick_name.c_str());
    text += part;
  }
  if (workload.limit_target > 0) {
    std::snprintf(part, sizeof part, "%s%.2f limit", text.empty() ? "" : ", ",
                  workload.limit_target);
    text += part;
  }
  return text;
}

const char* verdict(const Workload& workload, double ours, double yardstick, double limit) {
  const bool behind = (yardstick > 0 && ours < workload.yardstick_target * yardstick) ||
                      (limit > 0 && ours < workload.limit_target * limit);
  if (ours == 0 || target_text(workload).empty()) return "";
  if (yardstick == 0 && limit == 0) return "";
  return behind ? "MISSED" : "met";
}

void print_table(const Rates& rates) {
  std::printf("\nMillions per second of processor time, best round of each side\n\n");
  std::printf("| %-42s | %8s | %9s | %8s | %11s | %7s | %-24s | %-6s |\n", "workload", "ours",
              "yardstick", "limit", "x yardstick", "x limit", "target", "");
  std::printf(
      "|%s|%s|%s|%s|%s|%s|%s|%s|\n", std::string(44, '-').c_str(), std::string(10, '-').c_str(),
      std::string(11, '-').c_str(), std::string(10, '-').c_str(), std::string(13, '-').c_str(),
      std::string(9, '-').c_str(), std::string(26, '-').c_str(), std::string(8, '-').c_str());
  for (const Workload& workload : workloads()) {
    const double ours = rates.of(workload, "ours");
    const double yardstick = rates.of(workload, workload.yardstick_name);
    const double limit = rates.of(workload, "limit");
    if (ours == 0 && yardstick == 0 && limit == 0) continue;
    std::printf("| %-42s | %8s | %9s | %8s | %11s | %7s | %-24s | %-6s |\n", workload.name.c_str(),
                rate_text(ours).c_str(), rate_text(yardstick).c_str(), rate_text(limit).c_str(),
                ratio_text(ours, yardstick).c_str(), ratio_text(ours, limit).c_str(),
                target_text(workload).c_str(), verdict(workload, ours, yardstick, limit));
  }
}

void print_best_ways(const Rates& rates) {
  std::printf("\n| %-42s | %-26s | %8s | %5s | %7s |\n", "workload", "SQLite's best way", "rate",
              "gain", "x best");
  std::printf("|%s|%s|%s|%s|%s|\n", std::string(44, '-').c_str(), std::string(28, '-').c_str(),
              std::string(10, '-').c_str(), std::string(7, '-').c_str(),
              std::string(9, '-').c_str());
  for (const Workload& workload : workloads()) {
    const double usual = rates.of(workload, "SQLite");
    if (!has_ways(workload) || usual == 0) continue;
    std::size_t best = 0;
    for (std::size_t way = 1; way < kSqliteWays.size(); ++way) {
      if (rates.of(workload, side_of_way(way)) > rates.of(workload, side_of_way(best))) best = way;
    }
    const double rate = rates.of(workload, side_of_way(best));
    std::printf("| %-42s | %-26s | %8s | %5s | %7s |\n", workload.name.c_str(),
                kSqliteWays[best].name, rate_text(rate).c_str(), ratio_text(rate, usual).c_str(),
                ratio_text(rates.of(workload, "ours"), rate).c_str());
  }
}

// Fewer than the workload asks for where VQDB_BENCH_ROUNDS says so.
int rounds_of(const Workload& workload) {
  const char* const most = std::getenv("VQDB_BENCH_ROUNDS");
  return most == nullptr ? workload.rounds : std::clamp(std::atoi(most), 1, workload.rounds);
}

// The way of SQLite counts for its sides alone.
void add_side(Workload& workload, const std::string& name, Side side, std::size_t way = 0) {
  if (side == nullptr) return;
  benchmark::RegisterBenchmark((workload.name + "/" + name).c_str(),
                               [&workload, side, way](benchmark::State& state) {
                                 use_sqlite_way(way);
                                 run_side(workload, side, state);
                               })
      ->Iterations(1)
      ->Repetitions(rounds_of(workload))
      ->Unit(benchmark::kMillisecond);
}

}  // namespace
}  // namespace vqdb::bench

int main(int argc, char** argv) {
  using namespace vqdb::bench;
  std::vector<char*> arguments(argv, argv + argc);
  std::string in_turns = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, in_turns.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

  std::stable_sort(workloads().begin(), workloads().end(),
                   [](const Workload& a, const Workload& b) { return a.order < b.order; });
  for (Workload& workload : workloads()) {
    add_side(workload, "ours", workload.ours);
    add_side(workload, workload.yardstick_name, workload.yardstick);
    add_side(workload, "limit", workload.limit);
    for (std::size_t way = 1; has_ways(workload) && way < kSqliteWays.size(); ++way) {
      add_side(workload, side_of_way(way), workload.yardstick, way);
    }
  }
  const bool measures_peak = std::getenv("VQDB_BENCH_PEAK") != nullptr;
  const std::size_t before = measures_peak ? forget_peak() : 0;
  Rates rates;
  benchmark::RunSpecifiedBenchmarks(&rates);
  print_table(rates);
  if (tries_ways()) print_best_ways(rates);
  if (measures_peak) {
    for (const Workload& workload : workloads()) {
      if (workload.sum)
        std::printf("\nsum: %llu\n", static_cast<unsigned long long>(*workload.sum));
    }
    std::printf("\npeak memory beyond the customers: %.1f MiB\n", megabytes_since(before));
  } else {
    print_memory();
  }
  return 0;
}
