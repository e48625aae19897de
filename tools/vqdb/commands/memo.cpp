#include <algorithm>
#include <array>
#include <cstdio>

#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "field_writer.h"
#include "memo_file.h"
#include "output.h"
#include "selection.h"
#include "table.h"

namespace tool {
namespace {

struct Options {
  std::string table;
  std::uint32_t record = 0;
  std::string field;
  std::string text = "-";
  bool raw = false;
  std::vector<std::string> indexes;
  TextOptions texts;
};

const Field& memo_field(const Table& table, const std::string& name) {
  const Field& field = table.fields()[table.field_number(name)];
  if (!is_memo_type(field.type)) stop_usage("{} is no memo field of {}", name, table.path());
  return field;
}

Exit get(const Options& options) {
  const Table table(options.table, options.texts);
  const Field& field = memo_field(table, options.field);
  std::string record(table.record_length(), ' ');
  table.read(options.record, record.data());
  std::array<char, 11> reference = {};
  std::copy_n(record.data() + field.offset, 10, reference.begin());
  if (dUcheck_mfld(reference.data()) == 0) return Exit::no;
  MemoFile memos(table);
  std::string bytes;
  if (!memos.read(reference.data(), bytes)) {
    stop_failed("{}: record {}, field {}: {}", table.path(), options.record, field.name,
                memos.why());
  }
  Output output("");
  if (options.raw || field.type != 'M') {
    output.buffer() = bytes;
  } else {
    const std::size_t done = table.encoding().decode(bytes, options.texts.replace, output.buffer());
    if (done < bytes.size()) {
      stop_failed(
          "{}: record {}, field {}: byte 0x{:02X} at position {} is no character of code "
          "page {} (--encoding takes another, --raw the bytes as they are)",
          table.path(), options.record, field.name, static_cast<unsigned char>(bytes[done]),
          done + 1, table.encoding().name());
    }
  }
  output.finish();
  return Exit::done;
}

std::string read_input() {
  std::string text;
  std::array<char, 65536> piece;
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), stdin)) {
    text.append(piece.data(), got);
  }
  return text;
}

Exit set(const Options& options) {
  const Table table(options.table, options.texts);
  const Field& field = memo_field(table, options.field);
  const std::string text = options.text == "-" ? read_input() : options.text;
  Change change(options.table, options.indexes);
  if (!is_dbase3(table.header())) change.back_up();  // whose memos are rewritten in their places
  std::string record(table.record_length(), ' ');
  require(change.block(), dDgetrec(change.table(), options.record, record.data()),
          fmt::format("{}: record {}", table.path(), options.record));
  const std::string old = record;
  FieldWriter writer(table.encoding(), false, change.memo(), is_dbase3(table.header()),
                     &change.block());
  try {
    writer.put(field, text, record.data());
  } catch (const Misfit& misfit) {
    stop_failed("{}: record {}, field {}: {}", table.path(), options.record, field.name,
                misfit.why);
  }
  change.update(options.record, old.data(), record.data());
  change.commit();
  return Exit::done;
}

void add_place(CommandLine& command, Options& options) {
  command.required("TABLE", options.table, "The table");
  command.required("RECNO", options.record, "The record's number");
  command.required("FIELD", options.field, "The memo field");
}

}  // namespace

void add_memo(CommandLine& commands) {
  CommandLine parent = commands.group("memo", "Read and write memo texts");
  parent.footer(
      "Examples:\n"
      "  vqdb memo get towns 3 NOTES\n"
      "  vqdb memo set towns 3 NOTES 'Twinned with Lyon.'");
  auto getting = std::make_shared<Options>();
  CommandLine get_command = parent.command("get", "Print a memo", getting, get);
  add_place(get_command, *getting);
  get_command.flag("--raw", getting->raw, "Its bytes as they are, not as UTF-8");
  add_text_options(get_command, getting->texts);
  get_command.footer(
      "Exit code 1: the field is blank.\n\n"
      "Examples:\n"
      "  vqdb memo get towns 3 NOTES > notes.txt");
  auto setting = std::make_shared<Options>();
  CommandLine set_command = parent.command("set", "Write a memo", setting, set);
  add_place(set_command, *setting);
  set_command.optional("TEXT", setting->text,
                       "The text; - or nothing: standard input. An empty text blanks the field");
  add_index_option(set_command, setting->indexes);
  add_text_options(set_command, setting->texts);
  set_command.footer(
      "Examples:\n"
      "  vqdb memo set towns 3 NOTES 'Twinned with Lyon.'\n"
      "  vqdb memo set towns 3 NOTES < notes.txt");
}

}  // namespace tool
