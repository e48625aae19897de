// Runs the command-line program beside others that do the same work on the same customers, in
// turns, and prints the best round of each: `vqdbsys_peers [VQDB]`, where VQDB is the one in this
// program's folder unless given. ogr2ogr and sqlite3 are looked for in PATH; what is missing is
// left out. Called as `vqdbsys_peers filter TABLE EXPRESSION` it is itself one of the others: the
// loop that a host of the library would write.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "../customers.h"
#include "../folder.h"
#include "../require.h"
#include "../sqlite.h"
#include "../vq_table.h"

namespace vqdb::bench {
namespace {

constexpr int kRounds = 5;
constexpr int kRoundsOfShortWork = 30;
constexpr int kNoSuchProgram = 127;

int filter(const std::string& path, const char* expression) {
  Block block;
  const Table table(block, path, 0, 64);
  VqExpr* filter = nullptr;
  char type = 0;
  std::int32_t length = 0;
  require(dEparse(block, expression, table, &filter, &type, &length) == 0, expression);
  std::uint32_t count = 0;
  require(dDreccnt(table, &count) == 0, "dDreccnt");
  std::vector<char> record(static_cast<std::size_t>(dDreclen(table)));
  std::array<char, 8> answer = {};
  std::uint32_t matches = 0;
  for (std::uint32_t n = 1; n <= count; ++n) {
    require(dDgetrec(table, n, record.data()) == 0, "dDgetrec");
    require(dErun(block, filter, record.data(), 0, answer.size(), answer.data(), &length) == 0,
            "dErun");
    matches += answer[0] == 'T';
  }
  dEfree(filter);
  std::printf("%u\n", matches);
  return 0;
}

struct Side {
  std::vector<std::string> command;
  double target;         // least ratio of vqdb's rate to this side's
  double seconds = 1e9;  // of processor time, the best round
  bool is_there = true;
};

// A work, its sides (vqdb first), and what makes two outputs the same.
struct Work {
  const char* name;
  int rounds;
  std::vector<Side> sides;
  std::function<std::string(const std::string& output)> essence;
};

[[noreturn]] void execute(const Side& side, const std::string& output) {
  std::vector<char*> words;
  for (const std::string& word : side.command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  const int file = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file >= 0 && ::dup2(file, STDOUT_FILENO) >= 0) ::execvp(words[0], words.data());
  ::_exit(kNoSuchProgram);
}

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

void run(Side& side, const std::string& output) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child == 0) execute(side, output);
  int status = 0;
  rusage used = {};
  require(::wait4(child, &status, 0, &used) == child && WIFEXITED(status), "wait4");
  side.is_there = WEXITSTATUS(status) != kNoSuchProgram;
  require(!side.is_there || WEXITSTATUS(status) == 0, side.command[0].c_str());
  side.seconds = std::min(side.seconds, seconds_of(used.ru_utime) + seconds_of(used.ru_stime));
}

std::string read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void compare(Work& work) {
  const std::string output = file_in_folder("output");
  std::string first;
  for (int round = 0; round < work.rounds; ++round) {
    for (Side& side : work.sides) {
      if (!side.is_there) continue;
      run(side, output);
      if (!side.is_there || round > 0) continue;
      const std::string essence = work.essence(read(output));
      if (&side == work.sides.data()) first = essence;
      require(essence == first, "say the same as vqdb");
    }
  }
  const double ours = work.sides[0].seconds;
  for (const Side& side : work.sides) {
    if (&side == work.sides.data()) continue;
    const std::string name = std::filesystem::path(side.command[0]).filename().string();
    if (!side.is_there) {
      std::printf("| %-14s | %6.3f | %-14s | missing\n", work.name, ours, name.c_str());
      continue;
    }
    const double ratio = side.seconds / ours;
    std::printf("| %-14s | %6.3f | %-14s | %6.3f | %5.2f | %4.2f | %s |\n", work.name, ours,
                name.c_str(), side.seconds, ratio, side.target,
                ratio < side.target ? "MISSED" : "met");
  }
}

std::string line_count(const std::string& text) {
  return std::to_string(std::count(text.begin(), text.end(), '\n'));
}

int compare_all(const std::string& self, const std::string& vqdb) {
  constexpr const char* kFilter = "AMOUNT > 5000 .AND. STATE = \"CA\"";
  const std::string& table = customer_table();
  std::array<Work, 2> works = {
      {{"export to CSV",
        kRounds,
        {{{vqdb, "export", table, "--to", "csv"}, 0},
         {{"ogr2ogr", "-f", "CSV", "/vsistdout/", table}, 5},
         {{"sqlite3", "-header", "-cmd", ".mode csv", "-cmd", ".separator , \"\\n\"",
           sqlite_customers(), "SELECT * FROM customer"},
          1.5}},
        line_count},
       {"count by filter",
        kRoundsOfShortWork,
        {{{vqdb, "count", table, "--for", kFilter}, 0},
         {{self, "filter", table, kFilter}, 1 / 1.3}},
        [](const std::string& text) { return text; }}}};
  std::printf("Seconds of processor time for %zu records, best of %d to %d rounds\n",
              record_count(), kRounds, kRoundsOfShortWork);
  std::printf("| work           | vqdb   | other          |        | times | least\n");
  for (Work& work : works) compare(work);
  return 0;
}

}  // namespace
}  // namespace vqdb::bench

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (argc == 4 && arguments[0] == "filter") {
    return vqdb::bench::filter(arguments[1], argv[3]);
  }
  const std::string beside = (std::filesystem::path(argv[0]).parent_path() / "vqdb").string();
  return vqdb::bench::compare_all(argv[0], argc > 1 ? arguments[0] : beside);
}
