// The manual page and the completions, from the same texts as --help.

#include <algorithm>
#include <fmt/format.h>
#include <string>

#include "command_line.h"

#include <ravenfit/tools.h>

namespace command {

namespace {

// Text of man(7): hyphens of options as they are typed, nothing taken for a request.
std::string escaped(const std::string& text) {
  std::string made;
  for (const char c : text) {
    if (c == '\\')
      made += "\\e";
    else if (c == '-')
      made += "\\-";
    else if ((c == '.' || c == '\'') && (made.empty() || made.back() == '\n'))
      made += std::string("\\&") + c;
    else
      made += c;
  }
  return made;
}

std::string examples_of(const CLI::App& app) {
  const std::string footer = app.get_footer();
  const std::size_t end = footer.find('\n');
  return end == std::string::npos ? "" : footer.substr(end + 1);
}

std::string option_entry(const CLI::Option& option) {
  const bool positional = option.get_positional();
  const std::string type =
      option.get_items_expected_max() == 0 || positional ? "" : " " + option.get_type_name();
  std::string name = positional ? option.get_type_name() : option.get_name(false, true);
  std::string spaced;
  for (const char c : name)
    spaced += c == ',' ? std::string(", ") : std::string(1, c);
  return fmt::format(".TP\n\\fB{}\\fR\\fI{}\\fR\n{}.\n", escaped(spaced), escaped(type),
                     escaped(option.get_description()));
}

std::vector<const CLI::App*> subcommands_of(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string long_names(const CLI::App& app) {
  std::string names;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames())
      names += (names.empty() ? "--" : " --") + name;
  return names;
}

}  // namespace

std::string manual_page(const CLI::App& app) {
  std::string page = fmt::format(
      ".TH RAVENFIT 1 \"\" \"ravenfit {}\" \"User Commands\"\n.SH NAME\nravenfit \\- splines through the "
      "columns of tables, and "
      "random numbers\n.SH SYNOPSIS\n.B ravenfit\n\\fICOMMAND\\fR [\\fIOPTION\\fR]...\n.SH DESCRIPTION\n",
      rvnVersion());
  page += escaped(
              "Each command reads a table of numbers (CSV, TSV, other text with separators, or .npy) and "
              "writes one. Columns "
              "go by name, or by number from 1. x must ascend; --sort and --mean-duplicates help where it "
              "does not. Output "
              "files appear under their names when they are complete.") +
          "\n.SH COMMANDS\n";
  for (const CLI::App* sub : subcommands_of(app)) {
    page += fmt::format(".SS ravenfit {}\n{}.\n", sub->get_name(), escaped(sub->get_description()));
    for (const CLI::Option* option : sub->get_options())
      page += option_entry(*option);
    page += ".PP\nExamples:\n.nf\n" + escaped(examples_of(*sub)) + "\n.fi\n";
  }
  page +=
      ".SH EXIT STATUS\n0 for success, 1 if the data or a file is at fault, 2 if the arguments are. After a "
      "signal, as usual for "
      "the shell; no incomplete file is left.\n.SH ENVIRONMENT\nThe command asks for the best kernels that "
      "the "
      "processor's features "
      "allow. \\fBRVN_KERNEL_LEVEL_FORCE\\fR (0 to 9) and \\fBRVN_CBWR\\fR override this; \\fBravenfit "
      "info\\fR "
      "says which.\n";
  return page;
}

std::string bash_completion(const CLI::App& app) {
  std::string names;
  std::string cases;
  for (const CLI::App* sub : subcommands_of(app)) {
    names += (names.empty() ? "" : " ") + sub->get_name();
    cases += fmt::format("    {}) words=\"{}\" ;;\n", sub->get_name(), long_names(*sub));
  }
  std::string kinds;
  if (const CLI::App* const resample = app.get_subcommand("resample"); resample != nullptr) {
    const std::string text = resample->get_option("--kind")->get_description();
    kinds = text.substr(text.find(':') + 2, text.find(" (") - text.find(':') - 2);
    kinds.erase(std::remove(kinds.begin(), kinds.end(), ','), kinds.end());
  }
  return "# Completions of ravenfit for bash.\n_ravenfit() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=\n"
         "  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n    COMPREPLY=($(compgen -W \"" +
         names +
         " --help --version\" -- \"$current\"))\n    return\n  fi\n"
         "  case $before in\n    -k | --kind) words=\"" +
         kinds +
         "\" ;;\n    --format) words=\"csv tsv npy\" ;;\n"
         "    --ends | --left | --right) words=\"own free not-a-knot periodic\" ;;\n"
         "    --outside) words=\"proceed clamp wrap nan refuse\" ;;\n"
         "    --separator) words=\"comma semicolon tab space\" ;;\n  esac\n"
         "  if [ -n \"$words\" ]; then\n    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n    "
         "return\n  fi\n"
         "  case ${COMP_WORDS[1]} in\n" +
         cases +
         "  esac\n"
         "  case $current in\n    -*) COMPREPLY=($(compgen -W \"$words\" -- \"$current\")) ;;\n"
         "    *) COMPREPLY=($(compgen -f -- \"$current\")) ;;\n  esac\n}\n"
         "complete -o filenames -F _ravenfit ravenfit\n";
}

}  // namespace command
