// What the program asks of the operating system beyond files.
#ifndef VQDB_SYSTEM_H_
#define VQDB_SYSTEM_H_

#include <cstdio>
#include <optional>
#include <string>

namespace tool {

enum class Stream { output, error };

// Puts the standard streams into the state that the program relies on: bytes as they are, UTF-8 on
// a console.
void prepare_streams();
bool is_terminal(Stream stream);
// Columns and rows of the terminal; nothing when there is none.
struct TerminalSize {
  int columns;
  int rows;
};
std::optional<TerminalSize> terminal_size();

// Ctrl-C from now on only sets the flag that interrupted() reads; a second one ends the program.
void watch_for_interrupt();
bool interrupted();
// While one lives a second Ctrl-C does not end the program either: files are being put back.
class HeldInterrupts {
 public:
  HeldInterrupts();
  ~HeldInterrupts();
  HeldInterrupts(const HeldInterrupts&) = delete;
  HeldInterrupts& operator=(const HeldInterrupts&) = delete;
};

// The command that shows long output page by page, from the environment.
std::string pager_command();
std::FILE* open_pipe_to(const std::string& command);
void close_pipe(std::FILE* pipe);
// From now on writing to a pipe that nobody reads fails instead of ending the program.
void ignore_broken_pipe();

// A name under which there is a file, as the folder spells it.
std::string spelling_of(const std::string& name);
// Replaces `to` by `from` in one step.
bool replace_file(const std::string& from, const std::string& to);
int process_number();

}  // namespace tool

#endif  // VQDB_SYSTEM_H_
