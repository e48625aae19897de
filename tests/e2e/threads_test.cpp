#include <functional>
#include <thread>

#include "support/histories.h"
#include "support/test.h"

namespace {

constexpr std::uint32_t kRecords = 400;
constexpr std::array<const char*, 4> kFields = {"NAME", "C12", "AMOUNT", "N8.2"};
constexpr std::size_t kRecordBytes = 1 + 12 + 8;

std::string record_text(std::uint32_t number) {
  const std::string digits = std::to_string(number);
  std::string record = " N" + std::string(5 - digits.size(), '0') + digits;
  record.resize(13, ' ');
  return record + std::string(5 - digits.size(), ' ') + digits + ".50";
}

// Does what a host does with a database of its own; gives the first step that went wrong.
std::string work(const std::string& folder_file, unsigned seed) {
  const std::string table = folder_file + ".DBF";
  const std::string index = folder_file + ".NDX";
  VqBlock block;
  if (lib.DBinit(&block, 7) != 0) return "DBinit";
  if (lib.dDcreat(&block, table.c_str(), 2, kFields.data()) != 0) return "dDcreat";
  if (lib.dNcreat(&block, index.c_str(), "NAME", "C12") != 0) return "dNcreat";
  VqIndexSpec spec = {64, index.c_str(), 10, nullptr};
  VqDatabase* database = nullptr;
  VqIndexSpec* failed = nullptr;
  if (lib.DBopen(&block, table.c_str(), 0, 2, 1, 1, &spec, &database, &failed) != 0) {
    return "DBopen";
  }
  // A step that shares no divisor with the count visits every number once.
  const unsigned step = seed % 2 == 0 ? 177 : 223;
  for (unsigned i = 0; i < kRecords; ++i) {
    std::uint32_t recno = 0;
    const std::string record = record_text((seed + i * step) % kRecords);
    if (lib.DBapprec(database, record.data(), &recno) != 0 || recno != i + 1) return "DBapprec";
  }
  VqMember member;
  if (lib.GRPmember(database, 1, nullptr, nullptr, &member) != 0) return "GRPmember of the table";
  auto* const open_table = static_cast<VqTable*>(member.handle);
  VqExpr* filter = nullptr;
  char type = 0;
  std::int32_t length = 0;
  if (lib.dEparse(&block, "UPPER(NAME) = \"N\" .AND. AMOUNT < 100", open_table, &filter, &type,
                  &length) != 0) {
    return "dEparse";
  }
  if (lib.GRPmember(database, 64, index.c_str(), nullptr, &member) != 0) return "GRPmember";
  if (lib.DBrewind(&member) != 0) return "DBrewind";
  unsigned matches = 0;
  for (std::uint32_t n = 0; n < kRecords; ++n) {
    std::array<char, kRecordBytes> record;
    std::array<char, 16> key;
    std::array<char, 8> answer;
    std::uint32_t recno = 0;
    if (lib.DBnextrec(&member, record.data(), &recno, key.data()) != 0) return "DBnextrec";
    if (std::memcmp(record.data(), record_text(n).data(), kRecordBytes) != 0) return "the order";
    if (lib.dErun(&block, filter, record.data(), 0, 0, answer.data(), &length) != 0) return "dErun";
    matches += answer[0] == 'T';
  }
  lib.dEfree(filter);
  if (matches != 100) return "the filter";
  return lib.DBclose(database) == 0 ? "" : "DBclose";
}

void run_in_threads(const std::function<void(unsigned)>& run) {
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 8; ++t) threads.emplace_back(run, t);
  for (std::thread& thread : threads) thread.join();
}

TEST(Threads, work_on_databases_of_their_own_at_the_same_time) {
  const TemporaryFolder folder;
  run_in_threads([&](unsigned t) {
    for (unsigned round = 0; round < 3; ++round) {
      EXPECT_EQ("", work(folder.file("T" + std::to_string(t)), t + round));
    }
  });
}

TEST(Threads, change_check_and_mend_files_of_their_own_at_the_same_time) {
  const std::vector<History> all = histories();
  run_in_threads([&](unsigned t) {
    for (std::size_t i = 0; i < all.size(); ++i) {
      const History& history = all[(i + t * all.size() / 8) % all.size()];
      World world(history.kind);
      if (history.prepare != nullptr) history.prepare(world);
      for (const Step& step : history.steps) EXPECT_EQ(0, step.run(world)) << history.name;
      EXPECT_EQ("", history.errors(world, history.steps.size(), false)) << history.name;
      EXPECT_LT(0U, world.read().size());
    }
  });
}

}  // namespace
