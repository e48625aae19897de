// vqdb: tables, memo files and indexes from the command line.
#include <exception>
#include <new>

#include "commands/command.h"
#include "system.h"
#include "warnings.h"

namespace {

void add_commands(tool::CommandLine& commands) {
  for (const auto add :
       {tool::add_info,   tool::add_list,   tool::add_count,   tool::add_export, tool::add_import,
        tool::add_create, tool::add_append, tool::add_update,  tool::add_delete, tool::add_recall,
        tool::add_pack,   tool::add_sort,   tool::add_copy,    tool::add_cat,    tool::add_diff,
        tool::add_index,  tool::add_check,  tool::add_compact, tool::add_seek,   tool::add_eval,
        tool::add_memo}) {
    add(commands);
  }
}

}  // namespace

int main(int argc, char** argv) {
  tool::prepare_streams();
  tool::watch_for_interrupt();
  try {
    return tool::run_command_line(argc, argv, add_commands);
  } catch (const tool::Stop& stop) {
    tool::print_error(stop.what());
    return static_cast<int>(stop.code());
  } catch (const std::bad_alloc&) {
    tool::print_error("out of memory");
  } catch (const std::exception& error) {
    tool::print_error(error.what());
  }
  return static_cast<int>(tool::Exit::failed);
}
