// Writers and readers of one group of table, memo file, NDX and MDX files, of which some are killed
// and replaced. Each writer changes records of its own and keeps a log of what it was told is done.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "support/histories.h"
#include "support/orders.h"
#include "support/process.h"

namespace {

// What a record was made to be, told by its quantity; its memo follows from that.
struct State {
  std::uint32_t number = 0;
  bool deleted = false;
  bool operator==(const State&) const = default;
};

constexpr std::uint32_t kNumbers = 2000;  // of each writer

std::string quantity_of(std::uint32_t number) {
  std::array<char, 16> text;
  (void)lib.dUdtonf(nullptr, 100 + number * 0.5, 8, 2, text.data());
  return {text.data(), 8};
}

std::uint32_t number_of(const std::string& record) {
  return static_cast<std::uint32_t>((std::stod(record.substr(11, 8)) - 100) * 2);
}

std::string memo_of(std::uint32_t number) {
  return std::to_string(number) + std::string(number * 37 % 1500, 'm');
}

// Each has one of its own, as a unique tag wants it, and they come in no order.
std::string name_of(std::uint32_t number) {
  return "w" + std::to_string(1000003 + number * 7919 % 1000003);
}

class Worker {
 public:
  Worker(const Arguments& args)
      : random_(static_cast<unsigned>(std::stoi(args[4]))),
        next_(static_cast<std::uint32_t>(std::stoi(args[4])) * kNumbers),
        log_(args[5]) {
    (void)lib.DBinit(&block_, static_cast<std::uint32_t>(std::stoi(args[1])));
    (void)lib.dUsetnet(&block_, std::stoi(args[2]));
    (void)lib.dUsetwait(&block_, 60000);
    const auto mode = static_cast<std::uint32_t>(std::stoi(args[3]));
    take(lib.DBuse(&block_, args[0].c_str(), mode | VQ_OPEN_NO_INDEX_LIST, &database_));
    if (database_ == nullptr) return;
    take(lib.GRPmember(database_, VQ_KIND_NDX, nullptr, nullptr, &by_name_));
    const std::string quantities = args[0].substr(0, args[0].size() - 5) + "BYQTY";
    take(lib.GRPmember(database_, VQ_KIND_NDX, quantities.c_str(), nullptr, &by_quantity_));
    take(lib.GRPmember(database_, 2 | 4 | 8, nullptr, nullptr, &memo_));
  }

  bool is_well() const { return fault_.empty(); }
  std::string close() {
    take(lib.DBclose(database_));
    return fault_;
  }

  void change_something() {
    const std::uint32_t what = random_() % 8;
    if (what < 3 || own_.empty()) return append();
    auto own = own_.begin();
    std::advance(own, random_() % own_.size());
    if (what < 6) return update(own->first, own->second.number);
    const State state = {own->second.number, what == 6};
    begin(own->first, state);
    take((what == 6 ? lib.DBdelrec : lib.DBrclrec)(database_, own->first));
    done(own->first, state);
  }

  // A while along the names, in whose order they have to come; each record stands whole.
  void walk() {
    std::string last(1, 'w');
    std::uint32_t recno = 0;
    std::int32_t result = lib.DBsetrec(&by_name_, key_of("w15").data(), &recno);
    for (int i = 0; i < 40 && (result == 0 || result == VQ_E_NOT_FOUND); ++i) {
      result = lib.DBnextrec(&by_name_, record_.data(), &recno, key_.data());
      if (result != 0) break;
      if (key_.substr(0, 10) < last) fault_ = "order " + last + " " + key_;
      last = key_.substr(0, 10);
      if (record_[1] != 'w' && record_[2] != ' ') fault_ = "record " + record_;
    }
    if (result != VQ_E_INDEX_END) take(result);
  }

 private:
  static std::string key_of(const std::string& name) {
    std::string key;
    for (int i = 0; i < 9; ++i) key += padded(name, 10);
    return key;
  }

  void take(std::int32_t result) {
    if (result != 0 && fault_.empty()) fault_ = codes(result, block_);
  }

  void begin(std::uint32_t recno, const State& state) { log('b', recno, state); }
  void done(std::uint32_t recno, const State& state) {
    own_[recno] = state;
    log('d', recno, state);
  }
  void log(char what, std::uint32_t recno, const State& state) {
    if (!is_well()) return;
    log_ << what << ' ' << recno << ' ' << state.number << ' ' << state.deleted << std::endl;
  }

  void fill(std::uint32_t number) {
    record_.assign(CheckedGroup::kRecordBytes, ' ');
    record_.replace(1, 10, padded(name_of(number), 10)).replace(11, 8, quantity_of(number));
    record_.replace(19, 9, number % 2 == 0 ? "20240101T" : "20240202F");
  }

  void write_memo(std::uint32_t number) {
    auto* const memo = static_cast<VqMemo*>(memo_.handle);
    const std::string text = memo_of(number);
    const auto size = static_cast<std::int32_t>(text.size());
    std::int32_t moved = 0;
    const bool is_new = record_[37] == ' ';
    take(memo_.kind != VQ_KIND_DBASE4_MEMO
             ? lib.dTupdmm3(memo, 0, 0, text.c_str(), &record_[28], &moved)
         : is_new ? lib.dTnewmm(memo, 0, size, text.data(), &record_[28])
                  : lib.dTupdmm(memo, 0, size, text.data(), &record_[28], &moved));
  }

  void append() {
    const State state = {next_++, false};
    std::uint32_t recno = 0;
    begin(0, state);
    fill(state.number);
    write_memo(state.number);
    take(lib.DBapprec(database_, record_.data(), &recno));
    done(recno, state);
  }

  // Seeks the record by its quantity and gives it another, and another name and memo with it.
  void update(std::uint32_t expected, std::uint32_t old) {
    const State state = {next_++, false};
    const double key = 100 + old * 0.5;
    std::uint32_t recno = 0;
    record_.resize(CheckedGroup::kRecordBytes);
    take(lib.DBgetrec(&by_quantity_, &key, record_.data(), &recno));
    if (recno != expected) fault_ = "found " + std::to_string(recno);
    begin(recno, state);
    const std::string reference = record_.substr(28, 10);
    fill(state.number);
    record_.replace(28, 10, reference);
    write_memo(state.number);
    take(lib.DBupdrec(database_, recno, record_.data()));
    done(recno, state);
  }

  VqBlock block_ = {};
  VqDatabase* database_ = nullptr;
  VqMember by_name_ = {}, by_quantity_ = {}, memo_ = {};
  std::mt19937 random_;
  std::uint32_t next_;
  std::ofstream log_;
  std::map<std::uint32_t, State> own_;
  std::string record_ = std::string(CheckedGroup::kRecordBytes, ' ');
  std::string key_ = std::string(100, ' ');
  std::string fault_;
};

int work(const Arguments& args, void (Worker::*step)()) {
  Worker worker(args);
  for (std::uint32_t i = 0; i < kNumbers && worker.is_well() && !file_exists(args[6]); ++i) {
    (worker.*step)();
  }
  say(worker.close());
  return 0;
}
VQ_CHILD(change_own_records) { return work(args, &Worker::change_something); }
VQ_CHILD(walk_by_name) { return work(args, &Worker::walk); }

struct Log {
  std::map<std::uint32_t, State> done;
  std::uint32_t begun_record = 0;
  State begun;
  bool has_begun = false;
};

Log read_log(const std::string& name) {
  Log log;
  std::istringstream lines(read_file(name));
  char what = 0;
  std::uint32_t recno = 0;
  State state;
  while (lines >> what >> recno >> state.number >> state.deleted && !lines.eof()) {
    log.has_begun = what == 'b';
    if (what == 'd') log.done[recno] = state;
    log.begun_record = recno;
    log.begun = state;
  }
  return log;
}

struct Setting {
  std::uint32_t dialect;
  std::int32_t scheme;
  std::uint32_t mode;
};

#ifdef _WIN32
constexpr std::size_t kWriters = 1, kReaders = 1;
#else
constexpr std::size_t kWriters = 8, kReaders = 4;
#endif

class KilledWriters : public ::testing::TestWithParam<Setting> {};

TEST_P(KilledWriters, take_nothing_with_them_that_anybody_was_told_is_done) {
  const auto [dialect, scheme, mode] = GetParam();
  World world(dialect);
  (void)lib.dUsetnet(&world.group.block, scheme);
  const std::string stop = world.group.file("STOP");
  std::vector<std::string> logs;
  const auto start = [&](const char* body) {
    const std::string number = std::to_string(logs.size() + 1);
    logs.push_back(world.group.file("LOG" + number));
    write_file(logs.back(), "");  // some are killed before they begin
    return std::make_unique<Child>(
        body, Arguments{world.group.table(), std::to_string(dialect), std::to_string(scheme),
                        std::to_string(mode), number, logs.back(), stop});
  };
  std::vector<std::unique_ptr<Child>> children;
  while (children.size() < kWriters) children.push_back(start("change_own_records"));
  while (children.size() < kWriters + kReaders) children.push_back(start("walk_by_name"));
  const char* const seconds = std::getenv("VQ_SHARING_SECONDS");
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::milliseconds(seconds != nullptr ? std::atoi(seconds) * 1000 : 2500);
  std::mt19937 random(GetParam().mode * 7 + dialect);
  while (std::chrono::steady_clock::now() < end && logs.size() < 85) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100 + random() % 200));
    std::unique_ptr<Child>& victim = children[random() % kWriters];
    victim->kill();
    victim->wait();
    victim = start("change_own_records");
  }
  write_file(stop, "");
  for (const auto& child : children) EXPECT_EQ("", child->read_line());
  children.clear();

  std::map<std::uint32_t, State> known, begun;  // by record
  std::set<std::uint32_t> begun_numbers;        // of new records
  for (const std::string& name : logs) {
    const Log log = read_log(name);
    known.insert(log.done.begin(), log.done.end());
    if (!log.has_begun) continue;
    if (log.begun_record != 0) begun[log.begun_record] = log.begun;
    if (log.begun_record == 0) begun_numbers.insert(log.begun.number);
  }
  EXPECT_LT(20U, known.size());
  ASSERT_EQ(0, world.open(1));
  const VqMember table = table_member(world.database);
  auto* const handle = static_cast<VqTable*>(table.handle);
  std::set<std::uint32_t> in_doubt;
  std::string record(CheckedGroup::kRecordBytes, ' ');
  for (std::uint32_t recno = CheckedGroup::kRecords + 1;
       lib.dDgetrec(handle, recno, record.data()) == 0; ++recno) {
    const std::uint32_t number = number_of(record);
    const State state = {number, record[0] == '*'};
    EXPECT_EQ(name_of(number), record.substr(1, record.find(' ', 1) - 1)) << recno;
    const auto was = known.find(recno);
    const auto then = begun.find(recno);
    if (was != known.end() && was->second == state && then == begun.end()) {
      EXPECT_EQ(memo_of(number), CheckedGroup::memo(world.database, record, 28)) << recno;
    } else {
      const bool is_old = was != known.end() && was->second == state;
      const bool is_new =
          then != begun.end() ? then->second == state : begun_numbers.count(number) != 0;
      EXPECT_TRUE(is_old || is_new) << recno << ": " << record;
      in_doubt.insert(recno);
    }
    known.erase(recno);
  }
  EXPECT_TRUE(known.empty()) << "lost: " << known.begin()->first;
  EXPECT_EQ(0, world.close());

  // A record that was not written when its new memo was names what others have been given since.
  const std::set<std::int32_t> allowed = {VQ_F_MEMO_SHARED, VQ_F_MEMO_NONE, VQ_F_MEMO_LENGTH,
                                          VQ_F_MEMO_OVERLAP};
  EXPECT_EQ("", world.errors(allowed, [&](std::uint32_t n) { return in_doubt.count(n) != 0; }));
  EXPECT_EQ(0, world.repair().result);
  EXPECT_EQ("", world.errors({}, [](std::uint32_t) { return false; }));
}

INSTANTIATE_TEST_SUITE_P(settings, KilledWriters,
                         ::testing::Values(Setting{7, 0, 2}, Setting{7, 1, 4}, Setting{1, 2, 2},
                                           Setting{1, 3, 4}));

}  // namespace
