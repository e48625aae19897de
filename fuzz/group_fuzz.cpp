// Any bytes as a table with its memo file and indexes, worked on through the database layer with
// the checker as the judge. What it finds sound has to read right, take every change, and be sound
// afterwards, with the records and memos of a model. What it finds damaged has to be survived, and
// what a repair calls mended is held to the same.

#include <cstring>
#include <map>

#include "group.h"

namespace {

using namespace vqdb::fuzz;

constexpr std::uint32_t kMostRecords = 500;

// An input: a byte of choices, the steps, the sizes of the first three files (two bytes each), the
// files.
struct Choices {
  explicit Choices(std::uint8_t byte)
      : dialect((byte & 1) != 0 ? 4 : 1), mode(kModes[byte / 2 % 3]), repairs((byte & 8) != 0) {}

  static constexpr std::array<std::uint32_t, 3> kModes = {0, 2, 4};
  std::uint32_t dialect;  // with an MDX file where it is dBASE IV
  std::uint32_t mode;
  bool repairs;
};

class Group {
 public:
  Group(const Folder& folder, const Choices& choices)
      : choices_(choices), table_(folder.file("G")), indexes_(folder, choices.dialect == 4) {
    expect(DBinit(&block_, choices.dialect) == 0);
  }

  bool is_sound() { return check(nullptr) == 0; }
  std::int32_t check(VqReport report) {
    return DBcheck(&block_, table_.c_str(), &indexes_.options, report, nullptr);
  }
  bool mend() {
    if (DBrepair(&block_, table_.c_str(), &indexes_.options, nullptr, nullptr) != 0) return false;
    expect(is_sound());
    return true;
  }

  void work(const std::vector<Step>& steps, bool is_sound) {
    const std::int32_t result =
        DBopen(&block_, table_.c_str(), choices_.mode | VQ_OPEN_NO_INDEX_LIST, 4, VQ_SPECS_ARRAY,
               indexes_.count, indexes_.specs.data(), &database_, nullptr);
    if (result != 0) return;
    expect(GRPmember(database_, VQ_KIND_TABLE, nullptr, nullptr, &file_) == 0);
    expect(GRPmember(database_, VQ_KIND_NDX, nullptr, nullptr, &by_name_) == 0);
    VqMember memo;
    if (GRPmember(database_, VQ_KIND_DBASE4_MEMO, nullptr, nullptr, &memo) == 0) {
      memo_ = static_cast<VqMemo*>(memo.handle);
    }
    is_known_ = is_sound && has_known_shape();
    if (has_known_shape()) {
      learn();
      for (const Step& step : steps) take(step);
      compare();
    }
    const std::int32_t closed = DBclose(database_);
    if (is_known_) expect(closed == 0);
  }

 private:
  struct Row {
    std::string record;
    std::string text;
  };

  // The fields and keys that the steps expect.
  bool has_known_shape() const {
    auto* const table = static_cast<VqTable*>(file_.handle);
    char text[512] = {};
    std::int32_t flags = 0;
    if (dDreclen(table) != static_cast<std::int32_t>(kRecordBytes)) return false;
    for (std::size_t i = 0; i < kGroupFields.size(); i += 2) {
      VqField field;
      const auto number = static_cast<std::int32_t>(i / 2 + 1);
      if (dDfield(table, number, &field) != 0 || field.type != kGroupFields[i + 1][0] ||
          std::strcmp(field.name, kGroupFields[i]) != 0) {
        return false;
      }
    }
    return DBexpr(&by_name_, text, sizeof text, &flags) == 0 && flags == 0 &&
           std::strcmp(text, "NAME") == 0 && by_name_.key_length == kNameBytes;
  }

  void learn() {
    std::uint32_t count = 0;
    dDreccnt(static_cast<VqTable*>(file_.handle), &count);
    if (count > kMostRecords) is_known_ = false;
    for (std::uint32_t recno = 1; recno <= std::min(count, kMostRecords); ++recno) {
      std::string record(kRecordBytes, ' ');
      const std::int32_t result = read(recno, record);
      if (is_known_) expect(result == 0);
      if (result == 0) rows_[recno] = {record, memo_of(record)};
    }
  }

  std::int32_t read(std::uint32_t recno, std::string& record) {
    std::uint32_t read_number = 0;
    const auto* const key = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(recno));
    const std::int32_t result = DBgetrec(&file_, key, record.data(), &read_number);
    if (result == 0) expect(read_number == recno);
    return result;
  }

  std::string memo_of(const std::string& record) {
    constexpr std::int32_t kMost = 1 << 20;
    const std::string reference = record.substr(kNoteOffset, kNoteBytes);
    std::int32_t size = 0;
    std::int32_t length = 0;
    std::int32_t done = 0;
    if (dUcheck_mfld(reference.c_str()) != 1) return {};
    const std::int32_t sized = DBmemosize(database_, reference.c_str(), &size);
    if (is_known_) expect(sized == 0);
    if (sized != 0 || size <= 0 || size > kMost) return {};
    std::string text(static_cast<std::size_t>(size) + 1, '?');
    const std::int32_t result =
        DBgetmemo(database_, reference.c_str(), 0, size, text.data(), &length, &done);
    if (is_known_) expect(result == 0 && length == size);
    text.pop_back();
    return text;
  }

  void take(const Step& step) {
    if (rows_.empty() && step.action % 8 != 0) return;
    const std::uint32_t recno =
        rows_.empty()
            ? 0
            : std::next(rows_.begin(), static_cast<std::ptrdiff_t>(step.value % rows_.size()))
                  ->first;
    ++number_;
    switch (step.action % 8) {
      case 0:
        return append(step);
      case 1:
        return update(recno, step);
      case 2:
        return mark(recno, '*', DBdelrec);
      case 3:
        return mark(recno, ' ', DBrclrec);
      case 4:
      case 5:
        return write_memo(recno, step);
      case 6:
        return seek(recno);
      default:
        if (DBflush(database_) != 0) expect(!is_known_);
    }
  }

  void append(const Step& step) {
    const std::string record = group_record(number_ * 256U + step.value);
    std::uint32_t recno = 0;
    const std::int32_t result = DBapprec(database_, record.data(), &recno);
    if (is_known_) expect(result == 0 && !rows_.contains(recno));
    if (result == 0) rows_[recno] = {record, ""};
  }

  void update(std::uint32_t recno, const Step& step) {
    Row& row = rows_[recno];
    std::string record = row.record;
    const std::string fresh = group_record(number_ * 256U + step.value);
    record.replace(kIdOffset, kNoteOffset - kIdOffset, fresh, kIdOffset, kNoteOffset - kIdOffset);
    change(recno, row, record);
  }

  void change(std::uint32_t recno, Row& row, const std::string& record) {
    const std::int32_t result = DBupdrec(database_, recno, record.data());
    if (is_known_) expect(result == 0);
    if (result == 0) row.record = record;
  }

  void mark(std::uint32_t recno, char flag, decltype(&DBdelrec) set) {
    const std::int32_t result = set(database_, recno);
    if (is_known_) expect(result == 0);
    if (result == 0) rows_[recno].record[0] = flag;
  }

  void write_memo(std::uint32_t recno, const Step& step) {
    if (memo_ == nullptr) return;
    Row& row = rows_[recno];
    std::string record = row.record;
    std::string text(1U + step.value * (1U + step.action / 8U % 32U), '.');
    for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = static_cast<char>('0' + (number_ * 7U + i + i / 512U * number_) % 64U);
    }
    char* const field = record.data() + kNoteOffset;
    std::string reference(field, kNoteBytes);
    const bool has_memo = dUcheck_mfld(reference.c_str()) == 1;
    if (!has_memo) reference.assign(kNoteBytes, ' ');
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t moved = 0;
    std::int32_t result = 0;
    if (file_is_dbase3()) {
      result = dTputmm3(memo_, text.c_str(), reference.data());
    } else if (has_memo) {
      result = dTupdmm(memo_, 0, length, text.data(), reference.data(), &moved);
    } else {
      result = dTnewmm(memo_, 0, length, text.data(), reference.data());
    }
    if (is_known_) expect(result == 0);
    if (result != 0) return;
    std::memcpy(field, reference.data(), kNoteBytes);
    row.text = text;
    change(recno, row, record);
  }

  bool file_is_dbase3() const { return choices_.dialect == 1; }

  // The key leads to a record that has it.
  void seek(std::uint32_t recno) {
    const std::string key = rows_[recno].record.substr(kNameOffset, kNameBytes);
    std::string record(kRecordBytes, ' ');
    std::uint32_t found = 0;
    const std::int32_t result = DBgetrec(&by_name_, key.data(), record.data(), &found);
    if (!is_known_) return;
    expect(result == 0 && rows_.contains(found) && record == rows_[found].record);
    expect(record.compare(kNameOffset, kNameBytes, key) == 0);
  }

  // Every record and memo, and each record once by the order of the index.
  void compare() {
    if (!is_known_) return;
    for (const auto& [recno, row] : rows_) {
      std::string record(kRecordBytes, ' ');
      expect(read(recno, record) == 0 && record == row.record && memo_of(record) == row.text);
    }
    std::string record(kRecordBytes, ' ');
    std::string key(kNameBytes, ' ');
    std::string before;
    std::uint32_t recno = 0;
    std::map<std::uint32_t, int> seen;
    expect(DBrewind(&by_name_) == 0);
    while (DBnextrec(&by_name_, record.data(), &recno, key.data()) == 0) {
      expect(++seen[recno] == 1 && rows_.contains(recno) && record == rows_[recno].record);
      expect(before <= key && record.compare(kNameOffset, kNameBytes, key) == 0);
      before = key;
    }
    expect(seen.size() == rows_.size());
  }

  const Choices choices_;
  const std::string table_;
  GroupIndexes indexes_;
  VqBlock block_ = {};
  VqDatabase* database_ = nullptr;
  VqMember file_ = {};
  VqMember by_name_ = {};
  VqMemo* memo_ = nullptr;
  bool is_known_ = false;  // sound, and of the shape that the steps expect
  unsigned number_ = 0;
  std::map<std::uint32_t, Row> rows_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder folder;
  folder.clear();
  Input input(data, size);
  const Choices choices(take_byte(input));
  const std::vector<Step> steps = take_steps(input);
  std::array<std::size_t, kGroupFiles.size()> sizes = {0, 0, 0, input.size()};
  for (std::size_t i = 0; i + 1 < sizes.size(); ++i) {
    sizes[i] = take_byte(input);
    sizes[i] += std::size_t{256} * take_byte(input);
  }
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    write_file(folder.file(kGroupFiles[i]), take(input, sizes[i]));
  }
  bool is_sound = false;
  {
    Group group(folder, choices);
    is_sound = group.is_sound();
    if (!is_sound && choices.repairs) is_sound = group.mend();
    group.work(steps, is_sound);
  }
  if (is_sound) expect(Group(folder, choices).is_sound());
  return 0;
}
