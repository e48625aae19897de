#include "table/interrupted.h"

#include "frame/replacements.h"
#include "frame/system_file.h"

namespace vqdb::table {
namespace {

constexpr Operation kOpen{1004};

}  // namespace

std::string journal_of(const std::string& table_path) { return table_path + "$"; }

Result complete_interrupted(VqBlock& block, const std::string& table_path) {
  const platform::Outcome outcome = complete_replacements(journal_of(table_path));
  return outcome.ok() ? Result::ok : fail(block, open_result(outcome.error), kOpen.detail(9));
}

}  // namespace vqdb::table
