// A long random history of a table beside a model of it, in every mode and with few and many
// buffers.
#include "table/scratch_table.h"

namespace {

class History {
 public:
  // A table of `fields` texts of this length.
  History(std::uint32_t seed, std::size_t fields, std::size_t text_length)
      : random_(seed), header_length_(33 + 32 * fields), length_(1 + fields * text_length) {
    const std::string type = "C" + std::to_string(text_length);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < fields; ++i) names.push_back("F" + std::to_string(i));
    std::vector<const char*> description;
    for (const std::string& name : names) {
      description.insert(description.end(), {name.c_str(), type.c_str()});
    }
    EXPECT_EQ(0, create_table(block_, name_, description));
    reopen();
  }
  ~History() {
    if (table_ != nullptr) lib.dDclose(table_);
  }

  void step() {
    switch (below(12)) {
      case 0:
      case 1:
      case 2:
        return append();
      case 3:
        return change_flag();
      case 4:
      case 5:
        return update();
      case 6:
        return mode_ == 0 ? insert() : append();
      case 7:
        return mode_ == 0 ? remove() : read(any());
      case 8:
        return scan();
      case 9:
        if (below(20) == 0) {
          EXPECT_EQ(0, lib.dDclearbuf(table_));
        }
        return read(any());
      default:
        return below(60) == 0 ? reopen() : read(any());
    }
  }

  void finish() {
    ASSERT_EQ(0, lib.dDclose(std::exchange(table_, nullptr)));
    std::string expected;
    for (const std::string& record : model_) expected += record;
    if (expected.empty()) return;
    const std::string bytes = read_file(folder_.file("T.DBF"));
    EXPECT_EQ(expected + "\x1A", bytes.substr(header_length_, expected.size() + 1));
  }

 private:
  std::uint32_t below(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  std::uint32_t any() { return model_.empty() ? 1 : 1 + below(model_.size()); }
  std::size_t skip() const { return block_.runtime_flags & 1; }

  std::string new_record() {
    std::string record(length_, static_cast<char>('a' + below(26)));
    record[0] = ' ';
    record[1 + below(length_ - 1)] = '#';
    return record;
  }

  void append() {
    const std::string record = new_record();
    ASSERT_EQ(0, lib.dDapprec(table_, record.data() + skip())) << block_.detail;
    model_.push_back(record);
    ASSERT_EQ(static_cast<std::int32_t>(model_.size()), +block_.record_number);
  }

  void change_flag() {
    if (model_.empty()) return;
    const std::uint32_t recno = any();
    const bool deletes = below(2) == 0;
    ASSERT_EQ(0, (deletes ? lib.dDdelrec : lib.dDrclrec)(table_, recno)) << block_.detail;
    model_[recno - 1][0] = deletes ? '*' : ' ';
    ASSERT_EQ(deletes ? '*' : ' ', lib.dDrecsta(table_, recno));
  }

  void update() {
    if (model_.empty()) return;
    const std::uint32_t recno = any();
    const std::string record = new_record();
    ASSERT_EQ(0, lib.dDupdrec(table_, recno, record.data() + skip())) << block_.detail;
    model_[recno - 1] = record;
  }

  void insert() {
    const std::uint32_t recno = 1 + below(model_.size() + 1);
    const std::string record = new_record();
    ASSERT_EQ(0, lib.dDinsrec(table_, recno, record.data() + skip())) << block_.detail;
    model_.insert(model_.begin() + (recno - 1), record);
  }

  void remove() {
    if (model_.empty()) return;
    const std::uint32_t recno = below(3) == 0 ? static_cast<std::uint32_t>(model_.size()) : any();
    ASSERT_EQ(0, lib.dDrmrec(table_, recno)) << block_.detail;
    model_.erase(model_.begin() + (recno - 1));
  }

  void read(std::uint32_t recno) {
    std::string out(length_ - skip(), '?');
    if (recno > model_.size()) {
      ASSERT_EQ(-4, lib.dDgetrec(table_, recno, out.data()));
      return;
    }
    ASSERT_EQ(0, lib.dDgetrec(table_, recno, out.data())) << block_.detail;
    ASSERT_EQ(model_[recno - 1].substr(skip()), out) << "record " << recno;
  }

  void scan() {
    if (below(10) != 0) return;
    for (std::uint32_t i = any(); i <= model_.size() && !testing::Test::HasFatalFailure(); ++i) {
      read(i);
      if (below(50) == 0) return;
    }
  }

  void reopen() {
    if (table_ != nullptr) {
      ASSERT_EQ(0, lib.dDclose(table_));
    }
    constexpr std::uint32_t kModes[] = {0, 0, 2, 4, 6};
    constexpr std::int32_t kBuffers[] = {0, 1, 2, 5, 17, 64, 1000};
    mode_ = kModes[below(std::size(kModes))];
    block_.runtime_flags = static_cast<std::uint16_t>(below(4));
    table_ = lib.dDopen(&block_, name_.c_str(), mode_, kBuffers[below(std::size(kBuffers))]);
    ASSERT_NE(nullptr, table_);
    ASSERT_EQ(model_.size(), record_count(table_));
  }

  std::mt19937 random_;
  std::size_t header_length_;
  std::size_t length_;  // of a record
  TemporaryFolder folder_;
  std::string name_ = folder_.file("T");
  VqBlock block_ = block_of_kind(4);
  VqTable* table_ = nullptr;
  std::uint32_t mode_ = 0;
  std::vector<std::string> model_;
};

TEST(History, table_and_model_agree) {
  struct Case {
    std::size_t fields, length;
    int steps;
  };
  // Many records to a block, few, blocks larger than a transfer, and blocks of one record.
  const Case cases[] = {{1, 9, 8000}, {1, 83, 8000}, {20, 250, 2000}, {34, 250, 2000}};
  for (const Case& c : cases) {
    for (std::uint32_t seed = 1; seed <= 2; ++seed) {
      History history(seed, c.fields, c.length);
      for (int i = 0; i < c.steps && !HasFailure(); ++i) history.step();
      history.finish();
      ASSERT_FALSE(HasFailure()) << "seed " << seed << ", " << c.fields << " fields of "
                                 << c.length;
    }
  }
}

}  // namespace
