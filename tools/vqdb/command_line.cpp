#include "command_line.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>

#include "command_tree.h"
#include "warnings.h"
#include "written_help.h"

namespace tool {
namespace {

constexpr std::size_t kHelpColumn = 30;
constexpr std::size_t kHelpWidth = 80;

// Descriptions are broken at the width of a usual terminal; what goes without saying is left off.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kHelpColumn); }

  std::string make_option_opts(const CLI::Option* option) const override {
    std::string text = Formatter::make_option_opts(option);
    const std::string_view needless = option->get_positional() ? " REQUIRED" : " ...";
    if (const std::size_t at = text.find(needless); at != std::string::npos) {
      text.erase(at, needless.size());
    }
    return text;
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    constexpr std::size_t kRoom = kHelpWidth - kHelpColumn;
    const std::string text = Formatter::make_option_desc(option);
    std::string lines;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
      end = text.size() - begin <= kRoom ? text.size() : text.rfind(' ', begin + kRoom);
      if (end == std::string::npos || end <= begin) end = std::min(text.size(), begin + kRoom);
      lines.append(lines.empty() ? "" : "\n").append(text, begin, end - begin);
    }
    return lines;
  }
};

template <typename Value>
CLI::Option* add(CLI::App* app, const std::string& name, Value& value, const std::string& type,
                 const std::string& help) {
  return app->add_option(name, value, help)->type_name(type);
}

// What is wrong with the command line, or 0 for help and version.
int end_parsing(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    app.exit(error);
    return 0;
  }
  print_error(error.what());
  std::string path;
  for (const CLI::App* at = &app; !at->get_subcommands().empty();) {
    at = at->get_subcommands().front();
    path += at->get_name() + " ";
  }
  fmt::print(stderr, "vqdb {}--help tells how it is used\n", path);
  return static_cast<int>(Exit::usage);
}

}  // namespace

void CommandLine::required(const std::string& name, std::string& value, const std::string& help) {
  app_->add_option(name, value, help)->required()->type_name("");
}
void CommandLine::required(const std::string& name, std::uint32_t& value, const std::string& help) {
  app_->add_option(name, value, help)->required()->type_name("");
}
void CommandLine::required(const std::string& name, std::vector<std::string>& values,
                           const std::string& help) {
  app_->add_option(name, values, help)->required()->type_name("");
}
void CommandLine::optional(const std::string& name, std::string& value, const std::string& help) {
  app_->add_option(name, value, help)->type_name("");
}
void CommandLine::optional(const std::string& name, std::vector<std::uint32_t>& values,
                           const std::string& help) {
  app_->add_option(name, values, help)->type_name("");
}

void CommandLine::option(const std::string& name, std::string& value, const std::string& type,
                         const std::string& help) {
  add(app_, name, value, type, help);
}
void CommandLine::option(const std::string& name, std::uint32_t& value, const std::string& type,
                         const std::string& help) {
  add(app_, name, value, type, help);
}
void CommandLine::option(const std::string& name, std::uint64_t& value, const std::string& type,
                         const std::string& help) {
  add(app_, name, value, type, help);
}
void CommandLine::option(const std::string& name, std::vector<std::string>& values,
                         const std::string& type, const std::string& help) {
  add(app_, name, values, type, help)->allow_extra_args(false);
}
void CommandLine::list_option(const std::string& name, std::vector<std::string>& values,
                              const std::string& type, const std::string& help) {
  add(app_, name, values, type, help)->allow_extra_args(false)->delimiter(',');
}
void CommandLine::choice(const std::string& name, std::string& value, const std::string& type,
                         const std::vector<std::string>& choices, const std::string& help) {
  add(app_, name, value, type, help)
      ->check(CLI::IsMember(choices).description(""), fmt::format("{}", fmt::join(choices, " ")));
}
void CommandLine::flag(const std::string& name, bool& value, const std::string& help) {
  app_->add_flag(name, value, help);
}

void CommandLine::must(const std::string& name) { app_->get_option(name)->required(); }
void CommandLine::excludes(const std::string& name, const std::string& other) {
  app_->get_option(name)->excludes(app_->get_option(other));
}
void CommandLine::needs(const std::string& name, const std::string& other) {
  app_->get_option(name)->needs(app_->get_option(other));
}

void CommandLine::footer(const std::string& text) { app_->footer(text); }

CommandLine CommandLine::group(const std::string& name, const std::string& summary) {
  CLI::App* const part = app_->add_subcommand(name, summary);
  part->require_subcommand(1);
  return {part, action_};
}

CommandLine CommandLine::command(const std::string& name, const std::string& summary,
                                 Action action) {
  CLI::App* const part = app_->add_subcommand(name, summary);
  part->callback([target = action_, action = std::move(action)] { *target = action; });
  return {part, action_};
}

int run_command_line(int argc, char** argv, void (*add_commands)(CommandLine& commands)) {
  CLI::App app("Tables, memo files and indexes of the xBASE family", "vqdb");
  app.require_subcommand(1);
  app.set_version_flag("--version", fmt::format("vqdb {}", vqVersion()));
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(
      "vqdb COMMAND --help tells more, with examples.\n"
      "Exit codes: 0 done; 1 the answer is no; 2 wrong usage; 3 the work failed.");
  Action action;
  CommandLine commands(&app, &action);
  add_commands(commands);
  // Not for users: what the build makes manual pages and completions with.
  if (argc == 3 && std::string_view(argv[1]) == "--write-help") {
    write_help(describe_commands(app), argv[2]);
    return static_cast<int>(Exit::done);
  }
  if (argc < 2) {
    fmt::print(stderr, "{}", app.help());
    return static_cast<int>(Exit::usage);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return end_parsing(app, error);
  }
  return static_cast<int>(action());
}

}  // namespace tool
