#include "system.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>

namespace tool {
namespace {

std::atomic<bool> interrupt_came{false};
std::atomic<int> held{0};

BOOL WINAPI note_interrupt(DWORD) {
  if (interrupt_came.exchange(true) && held == 0) std::_Exit(130);
  return TRUE;
}

HANDLE handle_of(Stream stream) {
  return ::GetStdHandle(stream == Stream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

}  // namespace

void prepare_streams() {
  ::_setmode(_fileno(stdout), _O_BINARY);
  ::_setmode(_fileno(stderr), _O_BINARY);
  ::_setmode(_fileno(stdin), _O_BINARY);
  std::setvbuf(stderr, nullptr, _IONBF, 0);
  ::SetConsoleOutputCP(CP_UTF8);
  for (const Stream stream : {Stream::output, Stream::error}) {
    DWORD mode = 0;
    if (::GetConsoleMode(handle_of(stream), &mode) != 0) {
      ::SetConsoleMode(handle_of(stream), mode | 0x0004);  // escape sequences
    }
  }
}

bool is_terminal(Stream stream) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle_of(stream), &mode) != 0;
}

std::optional<TerminalSize> terminal_size() {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (::GetConsoleScreenBufferInfo(handle_of(Stream::output), &info) == 0) return std::nullopt;
  return TerminalSize{info.srWindow.Right - info.srWindow.Left + 1,
                      info.srWindow.Bottom - info.srWindow.Top + 1};
}

void watch_for_interrupt() { ::SetConsoleCtrlHandler(note_interrupt, TRUE); }

HeldInterrupts::HeldInterrupts() { ++held; }
HeldInterrupts::~HeldInterrupts() { --held; }

bool interrupted() { return interrupt_came; }

std::string pager_command() {
  const char* const command = std::getenv("PAGER");
  return command != nullptr ? command : "";
}

std::FILE* open_pipe_to(const std::string& command) { return ::_popen(command.c_str(), "wb"); }

void close_pipe(std::FILE* pipe) { ::_pclose(pipe); }

void ignore_broken_pipe() {}

std::string spelling_of(const std::string& name) {
  WIN32_FIND_DATAA found = {};
  const HANDLE search = ::FindFirstFileA(name.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return name;
  ::FindClose(search);
  const std::size_t folder = name.find_last_of("/\\:");
  return name.substr(0, folder == std::string::npos ? 0 : folder + 1) + found.cFileName;
}

bool replace_file(const std::string& from, const std::string& to) {
  return ::MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

int process_number() { return static_cast<int>(::GetCurrentProcessId()); }

}  // namespace tool
