#include "completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace tool {
namespace {

// Without the program's name.
std::string inner_path(const CommandNote& command) {
  const std::size_t space = command.path.find(' ');
  return space == std::string::npos ? "" : command.path.substr(space + 1);
}

std::string last_word(const CommandNote& command) {
  return command.path.substr(command.path.rfind(' ') + 1);
}

// In single quotes, the letters of `special` with a backslash.
std::string quoted(const std::string& text, const std::string& special) {
  std::string out;
  for (const char c : text) {
    if (c == '\'') {
      out += "'\\''";
    } else {
      if (special.find(c) != std::string::npos) out += '\\';
      out += c;
    }
  }
  return out;
}

// The commands in `command`, as zsh's _describe wants them.
std::string zsh_parts(const CommandNote& command) {
  std::string out;
  for (const CommandNote& part : command.parts) {
    out += fmt::format("\n      '{}:{}'", last_word(part), quoted(part.summary, ":\\"));
  }
  return out;
}

// "*{-o,--output}[help]:OUT:_files", in quotes.
std::string zsh_option(const ArgumentNote& note) {
  std::string out;
  for (const std::string& name : note.names) {
    const std::string others =
        note.repeated ? "*" : "(" + fmt::format("{}", fmt::join(note.names, " ")) + ")";
    out += fmt::format(" \\\n        '{}{}[{}]", others, name, quoted(note.help, "[]:\\"));
    if (!note.type.empty()) {
      const std::string values =
          note.choices.empty() ? "_files" : fmt::format("({})", fmt::join(note.choices, " "));
      out += fmt::format(":{}:{}", quoted(note.type, "[]:\\"), values);
    }
    out += "'";
  }
  return out;
}

}  // namespace

std::string bash_completion(const CommandNote& program) {
  std::string paths, words, values;
  for (const CommandNote* const command : all_commands(program)) {
    const std::string path = inner_path(*command);
    std::vector<std::string> parts, options;
    for (const CommandNote& part : command->parts) {
      parts.push_back(last_word(part));
      paths += fmt::format("      '{} {}') at='{}' ;;\n", path, parts.back(), inner_path(part));
    }
    for (const ArgumentNote& option : command->options) {
      for (const std::string& name : option.names) {
        options.push_back(name);
        if (option.type.empty()) continue;
        values += fmt::format("    '{} {}') words='{}' options='' ;;\n", path, name,
                              fmt::join(option.choices, " "));
      }
    }
    words += fmt::format("    '{}') words='{}' options='{}' ;;\n", path, fmt::join(parts, " "),
                         fmt::join(options, " "));
  }
  return fmt::format(R"(# Completion of vqdb for bash.
_vqdb() {{
  local at='' words='' options='' current=${{COMP_WORDS[COMP_CWORD]}} i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$at ${{COMP_WORDS[i]}}" in
{}    esac
  done
  case $at in
{}  esac
  case "$at ${{COMP_WORDS[COMP_CWORD - 1]}}" in
{}  esac
  [[ $current != -* ]] || words=$options
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}}
complete -o bashdefault -o default -F _vqdb vqdb
)",
                     paths, words, values);
}

std::string zsh_completion(const CommandNote& program) {
  std::string cases;
  for (const CommandNote* const command : all_commands(program)) {
    std::string body;
    if (!command->parts.empty()) {
      body = fmt::format("      parts=({}\n      )\n      _describe command parts\n",
                         zsh_parts(*command));
    } else {
      std::string options;
      for (const ArgumentNote& option : command->options) options += zsh_option(option);
      body = fmt::format("      _arguments{} \\\n        '*:file:_files'\n", options);
    }
    cases += fmt::format("    '{}')\n{}      ;;\n", inner_path(*command), body);
  }
  std::string paths;
  for (const CommandNote* const command : all_commands(program)) {
    for (const CommandNote& part : command->parts) {
      paths += fmt::format("      '{}') at='{}' ;;\n", inner_path(*command) + " " + last_word(part),
                           inner_path(part));
    }
  }
  return fmt::format(R"(#compdef vqdb
# Completion of vqdb for zsh.
_vqdb() {{
  local at='' word
  local -a parts
  for word in ${{words[2,CURRENT-1]}}; do
    case "$at $word" in
{}    esac
  done
  case $at in
{}  esac
}}
_vqdb "$@"
)",
                     paths, cases);
}

}  // namespace tool
