#include <array>
#include <cstring>
#include <filesystem>

#include "assignments.h"
#include "change.h"
#include "commands/command.h"
#include "field_writer.h"
#include "memo_file.h"
#include "progress.h"
#include "table.h"
#include "warnings.h"

namespace tool {
namespace {

struct Options {
  std::string target;
  std::string source;
  std::vector<std::string> indexes;
};

// Carries the texts of records over: memos into the target's memo file, and everything into its
// code page where the two differ.
class Carrier {
 public:
  Carrier(const Table& source, const Table& target, Change& change)
      : source_(source),
        same_page_(source.encoding().name() == target.encoding().name()),
        memos_(source),
        source_encoding_(source.encoding()),
        writer_(target.encoding(), false, change.memo(), is_dbase3(target.header()),
                &change.block()) {}

  void carry(std::uint32_t recno, std::string& record) {
    for (const Field& field : source_.fields()) {
      char* const at = record.data() + field.offset;
      if (field.type == 'C' && !same_page_) {
        std::string_view text(at, field.width);
        text = text.substr(0, text.find_last_not_of(' ') + 1);
        if (!is_ascii(text)) put(recno, field, decoded(recno, field, text), record);
      }
      if (is_memo_type(field.type)) carry_memo(recno, field, record);
    }
  }

 private:
  void carry_memo(std::uint32_t recno, const Field& field, std::string& record) {
    std::array<char, 11> reference = {};
    char* const at = record.data() + field.offset;
    std::memcpy(reference.data(), at, field.width);
    if (dUcheck_mfld(reference.data()) == 0) return;
    std::string bytes;
    if (!memos_.read(reference.data(), bytes)) {
      stop_failed("{}: record {}, field {}: {}", source_.path(), recno, field.name, memos_.why());
    }
    std::memset(at, ' ', field.width);
    put(recno, field, decoded(recno, field, bytes), record);
  }

  std::string decoded(std::uint32_t recno, const Field& field, std::string_view bytes) const {
    std::string text;
    if (source_encoding_.decode(bytes, false, text) < bytes.size()) {
      stop_failed("{}: record {}, field {}: not a text of code page {}", source_.path(), recno,
                  field.name, source_encoding_.name());
    }
    return text;
  }

  void put(std::uint32_t recno, const Field& field, const std::string& text, std::string& record) {
    try {
      writer_.put(field, text, record.data());
    } catch (const Misfit& misfit) {
      stop_failed("{}: record {}, field {}: {}", source_.path(), recno, field.name, misfit.why);
    }
  }

  const Table& source_;
  bool same_page_;
  MemoFile memos_;
  const Encoding& source_encoding_;
  FieldWriter writer_;
};

Exit run(const Options& options) {
  const Table target(options.target, {});
  const Table source(options.source, {});
  std::error_code error;
  if (std::filesystem::equivalent(target.path(), source.path(), error)) {
    stop_usage("{} cannot be appended to itself", target.path());
  }
  require(target.block(), dDcmpstr(&target.block(), target.path().c_str(), source.path().c_str()),
          source.path());
  Change change(options.target, options.indexes);
  change.back_up();
  Carrier carrier(source, target, change);
  Progress progress("appending");
  std::string record(source.record_length(), ' ');
  for (std::uint32_t recno = 1; recno <= source.record_count(); ++recno) {
    progress.at(recno, source.record_count());
    source.read(recno, record.data());
    carrier.carry(recno, record);
    std::uint32_t number = 0;
    require(change.block(), DBapprec(change.database(), record.data(), &number), target.path());
  }
  change.commit();
  fmt::print("{}: {} appended\n", target.path(), records_text(source.record_count()));
  return Exit::done;
}

}  // namespace

void add_cat(CommandLine& commands) {
  auto options = std::make_shared<Options>();
  CommandLine command =
      commands.command("cat", "Append the records of one table to another", options, run);
  command.required("A", options->target, "The table that grows");
  command.required("B", options->source,
                   "The table whose records are appended; it has the same "
                   "fields");
  add_index_option(command, options->indexes);
  command.footer(
      "Memos go along, A's indexes are kept in step, and texts are put into A's code page. "
      "Deleted\n"
      "records are appended as they are.\n\n"
      "Examples:\n"
      "  vqdb cat towns newtowns");
}

}  // namespace tool
