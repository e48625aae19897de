#include "manual.h"

#include <fmt/format.h>

#include <algorithm>

#include "vqdbsys.h"

namespace tool {
namespace {

// Text as it shall be read: nothing in it is a request, and hyphens can be copied.
std::string plain(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool at_start = i == 0 || text[i - 1] == '\n';
    if (at_start && (text[i] == '.' || text[i] == '\'')) out += "\\&";
    switch (text[i]) {
      case '\\':
        out += "\\e";
        break;
      case '-':
        out += "\\-";
        break;
      case '\'':
        out += "\\(aq";
        break;
      default:
        out += text[i];
    }
  }
  return out;
}

std::string bold(const std::string& text) { return "\\fB" + plain(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + plain(text) + "\\fR"; }

// Paragraphs, with a blank line between them.
std::string paragraphs(const std::string& text) {
  std::string out;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find("\n\n", begin), text.size());
    out += (out.empty() ? "" : ".PP\n") + plain(text.substr(begin, end - begin)) + "\n";
    begin = end + 2;
  }
  return out;
}

std::string tagged(const ArgumentNote& note) {
  std::string names;
  for (const std::string& name : note.names) {
    if (!names.empty()) names += ", ";
    names += note.type.empty() && name[0] != '-' ? italic(name) : bold(name);
  }
  if (!note.type.empty()) names += " " + italic(note.type);
  return fmt::format(".TP\n{}\n{}{}\n", names, plain(note.help),
                     note.repeated && !note.type.empty() ? " (may be repeated)." : ".");
}

std::string synopsis(const CommandNote& command) {
  std::string out = bold(command.path);
  if (!command.parts.empty()) return out + " " + italic("COMMAND") + " ...\n";
  for (const ArgumentNote& option : command.options) {
    if (option.required) out += " " + bold(option.names.back()) + " " + italic(option.type);
  }
  out += " [" + italic("OPTIONS") + "]";
  for (const ArgumentNote& argument : command.arguments) {
    const std::string name = italic(argument.names[0]) + (argument.repeated ? " ..." : "");
    out += argument.required ? " " + name : " [" + name + "]";
  }
  return out + "\n";
}

std::string section(const std::string& title, const std::string& text) {
  return text.empty() ? "" : ".SH " + title + "\n" + text;
}

}  // namespace

std::string manual_name(const CommandNote& command) {
  std::string name = command.path;
  std::ranges::replace(name, ' ', '-');
  return name;
}

std::string manual_page(const CommandNote& command, const CommandNote* above) {
  const std::string name = manual_name(command);
  std::string title = name;
  std::ranges::transform(title, title.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  std::string arguments, options, parts, also;
  for (const ArgumentNote& note : command.arguments) arguments += tagged(note);
  for (const ArgumentNote& note : command.options) options += tagged(note);
  for (const CommandNote& part : command.parts) {
    parts += fmt::format(".TP\n{}(1)\n{}.\n", bold(manual_name(part)), plain(part.summary));
  }
  if (above != nullptr) also = bold(manual_name(*above)) + "(1)\n";
  const std::string examples =
      command.examples.empty() ? "" : ".nf\n" + plain(command.examples) + "\n.fi\n";
  return fmt::format(".TH {} 1 \"\" \"vqdb {}\" \"Tables, memo files and indexes\"\n", plain(title),
                     vqVersion()) +
         section("NAME", plain(name) + " \\- " + plain(command.summary) + "\n") +
         section("SYNOPSIS", synopsis(command)) + section("COMMANDS", parts) +
         section("ARGUMENTS", arguments) + section("OPTIONS", options) +
         section("NOTES", paragraphs(command.notes)) + section("EXAMPLES", examples) +
         section("EXIT STATUS",
                 "0 done; 1 the answer is no: nothing found, differences, damage;\n"
                 "2 wrong usage; 3 the work failed.\n") +
         section("SEE ALSO", also);
}

}  // namespace tool
