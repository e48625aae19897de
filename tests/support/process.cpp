#include "support/process.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

namespace vqdb::testing {
namespace {

constexpr char kChildOption[] = "--child";

std::map<std::string, ChildBody>& bodies() {
  static std::map<std::string, ChildBody> registered;
  return registered;
}

}  // namespace

#ifdef _WIN32

struct Child::System {
  HANDLE process = nullptr;
  HANDLE input = nullptr;
  HANDLE output = nullptr;

  void start(const Arguments& args);
  bool read(char* byte) {
    DWORD count = 0;
    return ReadFile(output, byte, 1, &count, nullptr) != 0 && count == 1;
  }
  void write(const std::string& bytes) {
    DWORD count = 0;
    WriteFile(input, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
  }
  void end_input() {
    if (input != nullptr) {
      CloseHandle(input);
      input = nullptr;
    }
  }
  int wait() {
    DWORD code = 0;
    WaitForSingleObject(process, INFINITE);
    GetExitCodeProcess(process, &code);
    CloseHandle(process);
    CloseHandle(output);
    return static_cast<int>(code);
  }
  void kill() { TerminateProcess(process, static_cast<UINT>(-1)); }
};

void Child::System::start(const Arguments& args) {
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  std::string command = '"' + std::string(program) + '"';
  for (const std::string& arg : args) {
    command += " \"" + arg + '"';
  }
  SECURITY_ATTRIBUTES inherit = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE child_input = nullptr;
  HANDLE child_output = nullptr;
  CreatePipe(&child_input, &input, &inherit, 0);
  CreatePipe(&output, &child_output, &inherit, 0);
  SetHandleInformation(input, HANDLE_FLAG_INHERIT, 0);
  SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOA start = {};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = child_input;
  start.hStdOutput = child_output;
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION info = {};
  const BOOL started = CreateProcessA(program, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                      nullptr, &start, &info);
  CloseHandle(child_input);
  CloseHandle(child_output);
  if (!started) {
    throw std::runtime_error("cannot start " + command);
  }
  CloseHandle(info.hThread);
  process = info.hProcess;
}

#else

struct Child::System {
  pid_t process = -1;
  int input = -1, output = -1;

  void start(const Arguments& args);
  bool read(char* byte) { return ::read(output, byte, 1) == 1; }
  void write(const std::string& bytes) {
    if (::write(input, bytes.data(), bytes.size()) < 0) {
      std::perror("write to the child process");
    }
  }
  void end_input() {
    if (input >= 0) {
      close(input);
      input = -1;
    }
  }
  int wait() {
    int status = 0;
    waitpid(process, &status, 0);
    close(output);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void kill() { ::kill(process, SIGKILL); }
};

void Child::System::start(const Arguments& args) {
  // A child that died early must show as a failed expectation, not end the tests.
  std::signal(SIGPIPE, SIG_IGN);
  int to_child[2], from_child[2];
  if (pipe2(to_child, O_CLOEXEC) != 0 || pipe2(from_child, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make a pipe");
  }
  input = to_child[1];
  output = from_child[0];
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, to_child[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, from_child[1], STDOUT_FILENO);
  std::string program = "/proc/self/exe";
  std::vector<char*> argv = {program.data()};
  Arguments own = args;
  for (std::string& arg : own) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  const int error = posix_spawn(&process, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(to_child[0]);
  close(from_child[1]);
  if (error != 0) {
    throw std::runtime_error("cannot start the test program again");
  }
}

#endif

Child::Child(const std::string& name, const Arguments& args) : system_(new System) {
  Arguments all = {kChildOption, name};
  all.insert(all.end(), args.begin(), args.end());
  system_->start(all);
}

Child::~Child() { wait(); }

std::string Child::read_line() {
  std::string line;
  char byte = 0;
  while (system_ != nullptr && system_->read(&byte) && byte != '\n') {
    if (byte != '\r') {
      line += byte;
    }
  }
  return line;
}

void Child::write_line(const std::string& line) { system_->write(line + '\n'); }

int Child::wait() {
  if (system_ == nullptr) {
    return -1;
  }
  system_->end_input();
  const int code = system_->wait();
  system_.reset();
  return code;
}

void Child::kill() { system_->kill(); }

void say(const std::string& line) { std::cout << line << std::endl; }

std::string wait_for_line() {
  std::string line;
  std::getline(std::cin, line);
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return line;
}

bool register_child(const char* name, ChildBody body) {
  return bodies().emplace(name, body).second;
}

bool run_as_child(int argc, char** argv, int* exit_code) {
  if (argc < 3 || std::string(argv[1]) != kChildOption) {
    return false;
  }
  const auto found = bodies().find(argv[2]);
  if (found == bodies().end()) {
    std::cerr << "no child body named " << argv[2] << std::endl;
    *exit_code = 127;
    return true;
  }
  *exit_code = found->second(Arguments(argv + 3, argv + argc));
  return true;
}

}  // namespace vqdb::testing
