// The program `ravenfit`.

#include <csignal>
#include <cstdio>
#include <iostream>
#include <malloc.h>
#include <new>
#include <string>

#include "command_line.h"
#include "errors.h"
#include "output.h"

#include <ravenfit/ravenfit.hpp>

namespace {

constexpr int fault_of_data = 1;
constexpr int fault_of_use = 2;

int complain(const std::string& text, int code) {
  std::fflush(stdout);
  std::fprintf(stderr, "ravenfit: %s\n", text.c_str());
  return code;
}

void print(const std::string& text) {
  command::output to("-");
  to.write(text);
  to.commit();
}

// What was parsed as far as it goes, so that hints name the subcommand.
std::string hint(const CLI::App& app) {
  const auto subs = app.get_subcommands();
  return "; see `ravenfit " + (subs.empty() ? std::string() : subs.front()->get_name() + " ") + "--help`";
}

int run(int argc, char** argv) {
  const auto line = command::make_command_line();
  if (argc == 2 && std::string(argv[1]) == "--manual-page") return print(command::manual_page(line->app)), 0;
  if (argc == 2 && std::string(argv[1]) == "--bash-completion")
    return print(command::bash_completion(line->app)), 0;
  if (argc == 1) return print(line->app.help()), fault_of_use;
  try {
    line->app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return print(line->app.help()), 0;
  } catch (const CLI::CallForVersion& version) {
    return print(std::string(version.what()) + "\n"), 0;
  } catch (const CLI::ParseError& error) {
    return complain(error.what() + hint(line->app), fault_of_use);
  }
  return line->chosen();
}

}  // namespace

int main(int argc, char** argv) {
  command::remove_unfinished_on_signals();
  // Blocks of the same sizes come again and again: their memory is kept.
  ::mallopt(M_MMAP_THRESHOLD, 1 << 25);
  ::mallopt(M_TRIM_THRESHOLD, 1 << 28);
  try {
    return run(argc, argv);
  } catch (const command::use_error& error) {
    return complain(error.what(), fault_of_use);
  } catch (const command::data_error& error) {
    return complain(error.what(), fault_of_data);
  } catch (const ravenfit::error& error) {
    return complain(error.what(), fault_of_data);
  } catch (const std::bad_alloc&) {
    return complain("there is not enough memory", fault_of_data);
  } catch (const std::length_error&) {
    return complain("there is not enough memory", fault_of_data);
  } catch (const command::closed_pipe&) {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    return fault_of_data;
  }
}
