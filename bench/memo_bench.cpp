// Writing and reading memos of 50 to 5,000 bytes beside BLOB rows.

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "customers.h"
#include "folder.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::size_t kShortest = 50;
constexpr std::size_t kLongest = 5000;

using Reference = std::array<char, 10>;

// A tenth as many memos as there are customers.
const std::vector<std::string_view>& texts() {
  static const std::vector<std::string_view> all = [] {
    std::mt19937 random(7);
    static std::string source(3 * kLongest, ' ');
    for (char& c : source) c = static_cast<char>('a' + random() % 26);
    std::vector<std::string_view> made(std::max<std::size_t>(record_count() / 10, 1));
    for (std::string_view& text : made) {
      const std::size_t length = kShortest + random() % (kLongest - kShortest + 1);
      text = std::string_view(source).substr(random() % (source.size() - length), length);
    }
    return made;
  }();
  return all;
}

// Numbers of memos from 0, each once: as they were written, and in a fixed random order.
const std::vector<std::uint32_t>& written_order() {
  static const std::vector<std::uint32_t> order = [] {
    std::vector<std::uint32_t> made(texts().size());
    for (std::uint32_t i = 0; i < made.size(); ++i) made[i] = i;
    return made;
  }();
  return order;
}

const std::vector<std::uint32_t>& mixed_order() {
  static const std::vector<std::uint32_t> order = [] {
    std::vector<std::uint32_t> made = written_order();
    std::shuffle(made.begin(), made.end(), std::mt19937(11));
    return made;
  }();
  return order;
}

void count_items(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(texts().size()));
}

// The name of a new memo file with its table.
std::string new_memo_file(Block& block, const std::string& name) {
  const char* const fields[] = {"NOTES", "M"};
  const std::string table = fresh_file(name + ".DBF");
  require(dDcreat(block, table.c_str(), 1, fields) == 0, "dDcreat");
  std::string memo = file_in_folder(name);
  require(dTcreat(block, memo.c_str()) == 0, "dTcreat");
  return memo;
}

class Memo {
 public:
  Memo(VqBlock* block, const std::string& name) : memo_(dTopen(block, name.c_str(), 0)) {
    require(memo_ != nullptr, "dTopen");
  }
  ~Memo() { require(dTclose(memo_) == 0, "dTclose"); }
  Memo(const Memo&) = delete;
  Memo& operator=(const Memo&) = delete;

  operator VqMemo*() const { return memo_; }

 private:
  VqMemo* memo_;
};

// Where each memo went.
std::vector<Reference> write_memos(Block& block, const std::string& name) {
  std::vector<Reference> references(texts().size());
  const Memo memo(block, name);
  for (std::size_t i = 0; i < texts().size(); ++i) {
    references[i].fill(' ');
    const auto length = static_cast<std::int32_t>(texts()[i].size());
    require(dTnewmm(memo, 0, length, texts()[i].data(), references[i].data()) == 0, "dTnewmm");
  }
  return references;
}

using Order = const std::vector<std::uint32_t>& (*)();
using Look = Sum (*)(std::uint32_t number, std::string_view text);

// What a memo comes to: by all its bytes, or by its length and end, where the time counts.
Sum whole(std::uint32_t number, std::string_view text) { return sum_of(text) * (number + 1); }
Sum glance(std::uint32_t number, std::string_view text) {
  return (number + 1) * text.size() + static_cast<unsigned char>(text.back());
}

Sum read_all(VqMemo* memo, const std::vector<Reference>& references, Order order, Look look) {
  std::array<char, kLongest + 1> buffer;
  Sum sum = 0;
  for (const std::uint32_t number : order()) {
    std::int32_t length = 0;
    require(
        dTgetmm(memo, references[number].data(), 0, kLongest, buffer.data(), &length, nullptr) == 0,
        "dTgetmm");
    sum += look(number, {buffer.data(), static_cast<std::size_t>(length)});
  }
  return sum;
}

// A row's bytes are copied out, as the host needs them once the statement goes on.
Sum read_all(Sqlite& database, Order order, Look look) {
  std::array<char, kLongest + 1> buffer;
  Sum sum = 0;
  database.run("BEGIN");
  {
    Statement select(database, "SELECT text FROM memo WHERE id=?");
    for (const std::uint32_t number : order()) {
      select.bind(1, std::int64_t{number});
      require(select.step(), "find a row");
      const std::string_view text = select.blob(0);
      text.copy(buffer.data(), text.size());
      sum += look(number, {buffer.data(), text.size()});
      select.reset();
    }
  }
  database.run("COMMIT");
  return sum;
}

Sum write_ours(benchmark::State& state) {
  texts();
  Block block;
  const std::string name = new_memo_file(block, "MEMOWRIT");
  std::vector<Reference> references;
  for (auto _ : state) references = write_memos(block, name);
  count_items(state);
  return read_all(Memo(block, name), references, written_order, whole);
}

void insert_texts(Sqlite& database) {
  database.run("BEGIN");
  {
    Statement insert(database, "INSERT INTO memo VALUES(?,?)");
    for (std::size_t i = 0; i < texts().size(); ++i) {
      insert.bind(1, static_cast<std::int64_t>(i));
      insert.bind_blob(2, texts()[i]);
      insert.step();
      insert.reset();
    }
  }
  database.run("COMMIT");
}

Sum write_sqlite(benchmark::State& state) {
  texts();
  Sqlite database(fresh_file("memo_write.sqlite"));
  database.run("CREATE TABLE memo(id INTEGER PRIMARY KEY, text BLOB)");
  for (auto _ : state) insert_texts(database);
  count_items(state);
  return read_all(database, written_order, whole);
}

const Register write({20, "write memos", write_ours, write_sqlite, 1.5});

template <Order order>
Sum read_ours(benchmark::State& state) {
  Block block;
  const std::string name = new_memo_file(block, "MEMOREAD");
  const std::vector<Reference> references = write_memos(block, name);
  const Memo memo(block, name);
  Sum sum = 0;
  for (auto _ : state) sum = read_all(memo, references, order, glance);
  count_items(state);
  return sum;
}

template <Order order>
Sum read_sqlite(benchmark::State& state) {
  Sqlite database(fresh_file("memo_read.sqlite"));
  database.run("CREATE TABLE memo(id INTEGER PRIMARY KEY, text BLOB)");
  insert_texts(database);
  Sum sum = 0;
  for (auto _ : state) sum = read_all(database, order, glance);
  count_items(state);
  return sum;
}

const Register read({21, "read memos as written", read_ours<written_order>,
                     read_sqlite<written_order>, 2});
const Register read_mixed({22, "read memos in random order", read_ours<mixed_order>,
                           read_sqlite<mixed_order>, 2});

}  // namespace
}  // namespace vqdb::bench
