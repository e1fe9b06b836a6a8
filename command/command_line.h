#pragma once

// The subcommands and their options, from which help, manual page and completions are made.

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

namespace command {

struct command_line {
  CLI::App app;
  std::function<int()> chosen;  // what the arguments ask for
};

std::unique_ptr<command_line> make_command_line();

// In the language of man(7).
std::string manual_page(const CLI::App& app);
// For bash-completion's folder.
std::string bash_completion(const CLI::App& app);

}  // namespace command
