#include <algorithm>
#include <map>

#include "assignments.h"
#include "change.h"
#include "column_guess.h"
#include "commands/command.h"
#include "csv_reader.h"
#include "field_writer.h"
#include "file_names.h"
#include "new_table.h"
#include "progress.h"
#include "table.h"
#include "table_maker.h"

namespace tool {
namespace {

struct Options {
  std::string csv;
  std::string table;
  std::vector<std::string> fields;
  NewTableOptions kind;
  std::vector<std::string> indexes;
  std::string csv_encoding = "UTF-8";
  std::string delimiter = ",";
  bool append = false;
  bool cut = false;
  TextOptions texts;
};

// The CSV file as rows of UTF-8 texts under known columns.
class Rows {
 public:
  explicit Rows(const Options& options)
      : reader_(options.csv, options.delimiter == "\\t" ? '\t' : options.delimiter[0]),
        encoding_(options.csv_encoding, "--csv-encoding"),
        progress_("reading") {
    start();
  }

  const std::vector<std::string>& columns() const { return columns_; }
  std::uint64_t line() const { return reader_.line(); }
  const std::string& name() const { return reader_.name(); }

  void start() {
    reader_.rewind();
    if (!reader_.next(columns_)) stop_failed("{}: empty, without even column names", name());
    decode(columns_);
  }

  bool next(std::vector<std::string>& cells) {
    if (!reader_.next(cells)) return false;
    if (cells.size() != columns_.size()) {
      stop_failed("{}: line {}: {} values for {} columns", name(), line(), cells.size(),
                  columns_.size());
    }
    decode(cells);
    progress_.at(reader_.bytes_read(), reader_.bytes());
    return true;
  }

 private:
  void decode(std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (is_ascii(cells[i])) continue;
      std::string text;
      const std::size_t done = encoding_.decode(cells[i], false, text);
      if (done < cells[i].size()) {
        stop_failed(
            "{}: line {}, column {}: byte 0x{:02X} is no character of {} (--csv-encoding "
            "takes another)",
            name(), line(),
            i < columns_.size() && &cells != &columns_ ? columns_[i] : std::to_string(i + 1),
            static_cast<unsigned char>(cells[i][done]), encoding_.name());
      }
      cells[i] = text;
    }
  }

  CsvReader reader_;
  Encoding encoding_;
  Progress progress_;
  std::vector<std::string> columns_;
};

// Writes every row as a record of an open database. `fields[i]` takes column i.
class Filling {
 public:
  Filling(Rows& rows, const Table& table, VqDatabase* database, VqMemo* memo, VqBlock& block,
          bool cut)
      : rows_(rows),
        table_(table),
        database_(database),
        block_(block),
        writer_(table.encoding(), cut, memo, is_dbase3(table.header()), &block) {}

  std::uint64_t run(const std::vector<Field>& fields) {
    std::vector<std::string> cells;
    std::string record;
    std::uint64_t count = 0;
    for (; rows_.next(cells); ++count) {
      record.assign(table_.record_length(), ' ');
      for (std::size_t i = 0; i < cells.size(); ++i) put(fields[i], i, cells[i], record);
      std::uint32_t recno = 0;
      const int32_t result = DBapprec(database_, record.data(), &recno);
      if (result != VQ_OK) {
        require(block_, result, fmt::format("{}: line {}", rows_.name(), rows_.line()));
      }
    }
    return count;
  }
  std::uint64_t cuts() const { return writer_.cuts(); }

 private:
  void put(const Field& field, std::size_t column, const std::string& text, std::string& record) {
    try {
      writer_.put(field, text, record.data());
    } catch (const Misfit& misfit) {
      stop_failed("{}: line {}, column {}: {}", rows_.name(), rows_.line(), rows_.columns()[column],
                  misfit.why);
    }
  }

  Rows& rows_;
  const Table& table_;
  VqDatabase* database_;
  VqBlock& block_;
  FieldWriter writer_;
};

Exit append(const Options& options, Rows& rows) {
  const Table table(options.table, options.texts);
  std::vector<Field> fields;
  const std::vector<std::string> short_names = field_names_for(rows.columns());
  for (std::size_t i = 0; i < rows.columns().size(); ++i) {
    const auto has_name = [&](const std::string& name) {
      return std::ranges::find_if(table.fields(), [&](const Field& field) {
        return equal_ignoring_case(field.name, name);
      });
    };
    auto found = has_name(rows.columns()[i]);
    if (found == table.fields().end()) found = has_name(short_names[i]);
    if (found == table.fields().end()) {
      stop_failed("{}: column {} has no field in {}", rows.name(), rows.columns()[i], table.path());
    }
    if (std::ranges::find(fields, found->offset, &Field::offset) != fields.end()) {
      stop_failed("{}: two columns for the field {}", rows.name(), found->name);
    }
    fields.push_back(*found);
  }
  Change change(options.table, options.indexes);
  change.back_up();
  Filling filling(rows, table, change.database(), change.memo(), change.block(), options.cut);
  const std::uint64_t count = filling.run(fields);
  change.commit();
  fmt::print("{}: {} appended{}\n", table.path(), records_text(count), cuts_text(filling.cuts()));
  return Exit::done;
}

// The fields for the columns: as given, else as narrow as the values allow.
std::vector<FieldSpec> fields_for(const Options& options, const Encoding& encoding, Rows& rows) {
  std::vector<FieldSpec> fields;
  const std::vector<std::string> names = field_names_for(rows.columns());
  std::map<std::size_t, ColumnGuess> guesses;
  std::vector<FieldSpec> given;
  for (const std::string& text : options.fields) given.push_back(parse_field_spec(text));
  std::vector<bool> used(given.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    fields.push_back({names[i], ""});
    for (std::size_t g = 0; g < given.size(); ++g) {
      if (!equal_ignoring_case(given[g].name, rows.columns()[i]) &&
          !equal_ignoring_case(given[g].name, names[i])) {
        continue;
      }
      fields[i].type = given[g].type;
      used[g] = true;
    }
    if (fields[i].type.empty()) guesses[i];
  }
  for (std::size_t g = 0; g < given.size(); ++g) {
    if (!used[g]) stop_usage("--field {}: {} has no such column", options.fields[g], rows.name());
  }
  if (guesses.empty()) return fields;
  std::vector<std::string> cells;
  while (rows.next(cells)) {
    for (auto& [column, guess] : guesses) guess.look_at(cells[column], encoding);
  }
  for (const auto& [column, guess] : guesses) fields[column].type = guess.type();
  rows.start();
  return fields;
}

void show_fields(const Rows& rows, const std::vector<FieldSpec>& fields) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string& column = rows.columns()[i];
    fmt::print("  {:<10}  {}{}\n", fields[i].name, fields[i].type,
               equal_ignoring_case(column, fields[i].name) ? "" : "  from column " + column);
  }
}

Exit make(const Options& options, Rows& rows) {
  const std::string page = options.texts.encoding.empty() ? "1252" : options.texts.encoding;
  const Encoding encoding(page, "--encoding");
  const std::vector<FieldSpec> fields = fields_for(options, encoding, rows);
  NewTable made(options.table, options.kind.force);
  create_table(made.name(), fields, options.kind);
  const std::string path = made.path();
  mark_code_page(path, page);
  std::uint64_t count = 0;
  std::uint64_t cuts = 0;
  {
    const Table table(path, options.texts);
    Change change(path, {});
    Filling filling(rows, table, change.database(), change.memo(), change.block(), options.cut);
    count = filling.run(table.fields());
    cuts = filling.cuts();
    change.commit();
  }
  made.commit();
  show_fields(rows, fields);
  fmt::print("{}: {} imported{}\n", path, records_text(count), cuts_text(cuts));
  return Exit::done;
}

Exit run(const Options& options) {
  if (options.delimiter.size() != 1 && options.delimiter != "\\t") {
    stop_usage("--delimiter takes one character, not \"{}\"", options.delimiter);
  }
  Rows rows(options);
  return options.append ? append(options, rows) : make(options, rows);
}

}  // namespace

void add_import(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("import", "Make a table of a CSV file, or append one", options, run);
  command.required("CSV", options->csv,
                   "The CSV file, its first line the column names; - for "
                   "standard input");
  command.required("TABLE", options->table, "The table");
  command.flag("--append", options->append, "Append to a table that is there");
  command.option("--field", options->fields, "NAME:TYPE",
                 "Type of a column, such as PRICE:N10.2; else as narrow as its values allow");
  command.excludes("--field", "--append");
  add_new_table_options(command, options->kind);
  add_change_options(command, options->indexes, options->cut);
  command.option("--encoding", options->texts.encoding, "NAME",
                 "Code page of the table's texts, else 1252");
  command.option("--csv-encoding", options->csv_encoding, "NAME",
                 "Code page of the CSV file, else UTF-8");
  command.option("--delimiter", options->delimiter, "C",
                 "Between the values, else a comma; \\t a tab");
  command.footer(
      "Dates are written 2024-01-31, logical values true or false. A value that does not fit "
      "stops\n"
      "the import, and nothing is changed; with --cut texts and decimals are cut and counted. "
      "Texts\n"
      "longer than 254 bytes become memo fields. Names longer than ten letters are shortened.\n\n"
      "Examples:\n"
      "  vqdb import towns.csv towns\n"
      "  vqdb import towns.csv towns --field ZIP:C5 --field PEOPLE:N9 --dialect 4 --force\n"
      "  vqdb import more.csv towns --append --delimiter ';' --csv-encoding 1252");
}

}  // namespace tool
