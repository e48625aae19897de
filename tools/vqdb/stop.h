// Why a command ends early: words for the person and the exit code that goes with them.
#ifndef VQDB_STOP_H_
#define VQDB_STOP_H_

#include <fmt/format.h>
#include <vqdbsys.h>

#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace tool {

enum class Exit { done = 0, no = 1, usage = 2, failed = 3 };

class Stop : public std::exception {
 public:
  Stop(Exit code, std::string words) : code_(code), words_(std::move(words)) {}
  Exit code() const { return code_; }
  const char* what() const noexcept override { return words_.c_str(); }

 private:
  Exit code_;
  std::string words_;
};

template <typename... Arguments>
[[noreturn]] void stop_failed(fmt::format_string<Arguments...> words, Arguments&&... arguments) {
  throw Stop(Exit::failed, fmt::format(words, std::forward<Arguments>(arguments)...));
}

template <typename... Arguments>
[[noreturn]] void stop_usage(fmt::format_string<Arguments...> words, Arguments&&... arguments) {
  throw Stop(Exit::usage, fmt::format(words, std::forward<Arguments>(arguments)...));
}

// The words for a result of the library and the detail code of its block.
std::string words_of(int32_t result, int32_t detail);

// Ends the command when a call of the library failed; `subject` names the file or text at fault.
void require(const VqBlock& block, int32_t result, std::string_view subject);
// The same for a call that returned no handle.
[[noreturn]] void stop_unopened(const VqBlock& block, std::string_view subject);

}  // namespace tool

#endif  // VQDB_STOP_H_
