// Writes what the targets begin with: make_seeds FOLDER puts files that the library itself has made
// into FOLDER/ndx, FOLDER/mdx and so on, in the form in which each target takes them.

#include <cstdio>
#include <cstring>
#include <iterator>

#include "group.h"

namespace {

using namespace vqdb::fuzz;

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  expect(file.is_open());
  return {std::istreambuf_iterator<char>(file), {}};
}

// Steps of every kind, a while with each value.
std::string some_steps(unsigned count, unsigned start) {
  std::string steps(1, static_cast<char>(count));
  for (unsigned i = 0; i < count; ++i) {
    steps += static_cast<char>(start + i * 5);
    steps += static_cast<char>(start * 3 + i * 29);
  }
  return steps;
}

class Seeds {
 public:
  Seeds(const std::string& folder, const char* target) : folder_(folder + "/" + target) {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  void add(const std::string& bytes) {
    std::ofstream(folder_ + "/" + std::to_string(++count_), std::ios::binary) << bytes;
  }

 private:
  const std::string folder_;
  unsigned count_ = 0;
};

struct Table {
  Table(VqBlock& block, const std::string& path, std::span<const char* const> fields) {
    expect(dDcreat(&block, path.c_str(), static_cast<std::int32_t>(fields.size() / 2),
                   fields.data()) == 0);
    handle = dDopen(&block, path.c_str(), 0, 4);
    expect(handle != nullptr);
  }
  ~Table() { dDclose(handle); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  VqTable* handle;
};

VqBlock block_of(std::uint32_t dialect) {
  VqBlock block = {};
  expect(DBinit(&block, dialect) == 0);
  return block;
}

// The fields of the table that the index targets open their files for.
constexpr std::array<const char*, 6> kIndexFields = {"NAME", "C10", "AMOUNT", "N10.2", "DUE", "D"};

void fill(VqTable* table, unsigned count) {
  for (unsigned i = 0; i < count; ++i) {
    char record[40];
    std::snprintf(record, sizeof record, " Name%-6u%10.2f2024%02u%02u", i * 37 % 71,
                  (i * 13 % 97) - 20.5, i % 12 + 1, i % 28 + 1);
    expect(dDapprec(table, record) == 0);
  }
}

void make_indexes(const std::string& to) {
  const Folder folder;
  VqBlock block = block_of(2);
  const Table table(block, folder.file("T"), kIndexFields);
  fill(table.handle, 150);
  Seeds ndx(to, "ndx");
  Seeds mdx(to, "mdx");
  const std::string single = folder.file("I.NDX");
  for (const char* const key : {"NAME", "AMOUNT", "DUE", "NAME+DTOC(DUE)"}) {
    for (const unsigned options : {0U, unsigned{VQ_BUILD_UNIQUE}, unsigned{VQ_BUILD_NDX3}}) {
      expect(dNindex(table.handle, single.c_str(), key, options) == 0);
      for (unsigned mode = 0; mode < 2; ++mode) {
        ndx.add(static_cast<char>(mode) + some_steps(20, mode) + contents(single));
      }
    }
  }
  const std::string multiple = folder.file("I.MDX");
  for (const unsigned drops : {0U, 4U, 8U}) {
    std::filesystem::remove(multiple);
    struct Tag {
      const char* name;
      const char* key;
      const char* filter;
      std::uint32_t options;
    };
    for (const Tag& tag :
         {Tag{"NAMES", "NAME", "", 0}, Tag{"AMOUNTS", "AMOUNT", "AMOUNT > 0", VQ_BUILD_DESCENDING},
          Tag{"DUES", "DUE", "", VQ_BUILD_UNIQUE},
          Tag{"BOTH", "NAME+DTOC(DUE)", ".NOT. DELETED()", 0}}) {
      expect(dXezindx(table.handle, multiple.c_str(), tag.name, tag.key, tag.filter, tag.options) ==
             0);
    }
    for (unsigned mode = 0; mode < 4; ++mode) {
      mdx.add(static_cast<char>(mode + drops) + some_steps(12, mode) + contents(multiple));
    }
  }
}

// A memo file with gaps between memos of many lengths.
void make_memos(const std::string& to) {
  Seeds seeds(to, "memo");
  for (const bool dbase4 : {false, true}) {
    const Folder folder;
    VqBlock block = block_of(dbase4 ? 4 : 1);
    block.memo_block_setting = 1;
    constexpr std::array<const char*, 2> kNote = {"NOTE", "M"};
    { const Table table(block, folder.file("M"), kNote); }
    const std::string path = folder.file("M.DBT");
    const auto made = dbase4 ? dTcreat : dTcreat3;
    expect(made(&block, path.c_str()) == 0);
    VqMemo* const memo = (dbase4 ? dTopen : dTopen3)(&block, path.c_str(), 0);
    std::vector<std::string> references;
    for (unsigned i = 0; i < 16; ++i) {
      std::string text(1 + i * 173 % 1900, static_cast<char>('a' + i));
      std::string& reference = references.emplace_back(10, ' ');
      std::int32_t moved = 0;
      if (!dbase4) {
        expect(dTputmm3(memo, text.c_str(), reference.data()) == 0);
        continue;
      }
      expect(dTnewmm(memo, 0, static_cast<std::int32_t>(text.size()), text.data(),
                     reference.data()) == 0);
      if (i % 3 != 2) continue;
      // The one before it moves away.
      text.assign(2500, 'z');
      expect(dTupdmm(memo, 0, static_cast<std::int32_t>(text.size()), text.data(),
                     references[i - 1].data(), &moved) == 0);
    }
    expect((dbase4 ? dTclose : dTclose3)(memo) == 0);
    for (unsigned mode = 0; mode < 5; ++mode) {
      seeds.add(static_cast<char>(mode * 2 + (dbase4 ? 0 : 1)) + some_steps(40, mode) +
                contents(path));
    }
  }
}

void make_tables(const std::string& to) {
  Seeds seeds(to, "table");
  constexpr std::array<std::uint32_t, 7> kDialects = {1, 2, 4, 7, 8, 32776, 16};
  for (unsigned dialect = 0; dialect < kDialects.size(); ++dialect) {
    for (const bool with_memo : {false, true}) {
      const Folder folder;
      VqBlock block = block_of(kDialects[dialect]);
      const std::string path = folder.file("T.DBF");
      const std::span<const char* const> fields = with_memo
                                                      ? std::span<const char* const>(kGroupFields)
                                                      : std::span<const char* const>(kIndexFields);
      {
        const Table table(block, path, fields);
        for (unsigned i = 0; i < 30; ++i) {
          const std::string record =
              group_record(i).substr(0, static_cast<std::size_t>(dDreclen(table.handle)));
          expect(dDapprec(table.handle, record.c_str()) == 0);
        }
      }
      for (unsigned mode = 0; mode < 6; ++mode) {
        const std::string choices = {static_cast<char>(dialect), static_cast<char>(mode),
                                     static_cast<char>(mode % 5), static_cast<char>(mode % 4)};
        seeds.add(choices + contents(path));
      }
    }
  }
}

void make_groups(const std::string& to) {
  Seeds seeds(to, "group");
  for (const std::uint32_t dialect : {1U, 4U}) {
    const Folder folder;
    VqBlock block = block_of(dialect);
    const std::string table = folder.file("G");
    expect(DBcreat(&block, table.c_str(), static_cast<std::int32_t>(kGroupFields.size() / 2),
                   kGroupFields.data()) == 0);
    const GroupIndexes indexes(folder, dialect == 4);
    VqDatabase* database = nullptr;
    expect(DBopen(&block, table.c_str(), VQ_OPEN_NO_INDEX_LIST, 4, VQ_SPECS_ARRAY, 0, nullptr,
                  &database, nullptr) == 0);
    VqMember memo;
    expect(GRPmember(database, VQ_KIND_DBASE4_MEMO, nullptr, nullptr, &memo) == 0);
    for (unsigned i = 0; i < 24; ++i) {
      std::string record = group_record(i);
      const std::string text(1 + i * 91 % 1300, static_cast<char>('a' + i % 26));
      char* const reference = record.data() + kNoteOffset;
      auto* const file = static_cast<VqMemo*>(memo.handle);
      if (i % 2 == 0) {
        expect((dialect == 4 ? dTnewmm(file, 0, static_cast<std::int32_t>(text.size()), text.data(),
                                       reference)
                             : dTputmm3(file, text.c_str(), reference)) == 0);
      }
      std::uint32_t recno = 0;
      expect(DBapprec(database, record.data(), &recno) == 0);
      if (i % 7 == 3) expect(DBdelrec(database, recno) == 0);
    }
    expect(DBindex(database, VQ_KIND_NDX, indexes.specs[0].name, nullptr, "NAME", nullptr, 0) == 0);
    if (dialect == 4) {
      const char* const mdx = indexes.specs[1].name;
      expect(DBindex(database, VQ_KIND_MDX, mdx, "IDS", "ID", nullptr, 0) == 0);
      expect(DBindex(database, VQ_KIND_MDX, mdx, "LIVE", "UPPER(NAME)", ".NOT. DELETED()",
                     VQ_BUILD_DESCENDING) == 0);
    }
    expect(DBclose(database) == 0);
    std::string files;
    std::string sizes;
    for (const char* const name : kGroupFiles) {
      const std::string path = folder.file(name);
      const std::string bytes = std::filesystem::exists(path) ? contents(path) : "";
      files += bytes;
      if (std::strcmp(name, kGroupFiles.back()) == 0) continue;
      sizes += static_cast<char>(bytes.size() % 256);
      sizes += static_cast<char>(bytes.size() / 256);
    }
    for (unsigned mode = 0; mode < 3; ++mode) {
      for (const unsigned repairs : {0U, 8U}) {
        const unsigned choices = (dialect == 4 ? 1U : 0U) + mode * 2 + repairs;
        seeds.add(static_cast<char>(choices) + some_steps(16, mode) + sizes + files);
      }
    }
  }
}

// Expressions in the words of the target: dialect, settings, key form, limit, text.
void make_expressions(const std::string& to) {
  Seeds seeds(to, "expression");
  for (const char* const text :
       {"NAME", "UPPER(NAME)+DTOS(DUE)", "AMOUNT > 5 .AND. .NOT. DELETED()",
        "IIF(ACTIVE,STR(AMOUNT,12,2),SPACE(12))", "DUE - CTOD('01/31/95')", "FIELD->RATE ** 2",
        "SUBSTR(CITY,2,3) $ 'abc'", "LEFT(TRIM(CITY),3) = \"x\" .OR. RECNO() > 3"}) {
    for (char dialect = 0; dialect < 7; ++dialect) {
      seeds.add(std::string{dialect, 64, dialect, 2} + text + '\0' + "  field bytes 12.50");
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  make_indexes(argv[1]);
  make_memos(argv[1]);
  make_tables(argv[1]);
  make_groups(argv[1]);
  make_expressions(argv[1]);
  return 0;
}
