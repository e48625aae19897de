#include "system.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace tool {
namespace {

volatile std::sig_atomic_t interrupt_came = 0;
volatile std::sig_atomic_t is_held = 0;

extern "C" void note_interrupt(int) {
  if (interrupt_came != 0 && is_held == 0) std::_Exit(130);
  interrupt_came = 1;
}

}  // namespace

void prepare_streams() {}

bool is_terminal(Stream stream) {
  return ::isatty(stream == Stream::output ? STDOUT_FILENO : STDERR_FILENO) == 1;
}

std::optional<TerminalSize> terminal_size() {
  winsize size = {};
  for (const int file : {STDOUT_FILENO, STDERR_FILENO}) {
    if (::ioctl(file, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
      return TerminalSize{size.ws_col, size.ws_row};
    }
  }
  return std::nullopt;
}

void watch_for_interrupt() {
  struct sigaction action = {};
  action.sa_handler = note_interrupt;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
  ::sigaction(SIGHUP, &action, nullptr);
}

HeldInterrupts::HeldInterrupts() { is_held = is_held + 1; }
HeldInterrupts::~HeldInterrupts() { is_held = is_held - 1; }

bool interrupted() { return interrupt_came != 0; }

std::string pager_command() {
  for (const char* const name : {"VQDB_PAGER", "PAGER"}) {
    if (const char* const command = std::getenv(name)) return command;
  }
  return "less -FRSX";
}

std::FILE* open_pipe_to(const std::string& command) { return ::popen(command.c_str(), "w"); }

void close_pipe(std::FILE* pipe) { ::pclose(pipe); }

void ignore_broken_pipe() { std::signal(SIGPIPE, SIG_IGN); }

std::string spelling_of(const std::string& name) { return name; }

bool replace_file(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

int process_number() { return static_cast<int>(::getpid()); }

}  // namespace tool
