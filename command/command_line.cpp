#include "command_line.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "curve.h"
#include "options.h"

#include <ravenfit/tools.h>

namespace command {

namespace {

// Options with the kind of what they take, and nothing else.
class formatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_items_expected_max() == 0 ? "" : " " + option->get_type_name();
  }
};

// Counts as people write them: 1000, 1e6, 64k, 1M, 2^20.
std::uint64_t count_of(const std::string& text) {
  const auto refuse = [&]() -> std::uint64_t {
    throw CLI::ValidationError("\"" + text + "\" is not a count; write 1000, 1e6, 64k, 1M or 2^20");
  };
  const char* const begin = text.c_str();
  char* rest = nullptr;
  if (text.empty() || text[0] < '0' || text[0] > '9') return refuse();
  double value = 0.0;
  if (const std::size_t power = text.find('^'); power != std::string::npos) {
    value = std::pow(std::strtod(begin, nullptr), std::strtod(begin + power + 1, &rest));
  } else {
    bool exact = text.find_first_not_of("0123456789") == std::string::npos;
    if (exact && text.size() <= 19) return std::stoull(text);
    value = std::strtod(begin, &rest);
    constexpr const char* prefixes = "kMGT";
    if (const char* const at = *rest == 0 ? nullptr : std::strchr(prefixes, *rest); at != nullptr) {
      value *= std::pow(10.0, 3.0 * static_cast<double>(at - prefixes + 1));
      ++rest;
    }
  }
  if (rest == nullptr || *rest != 0 || !(value >= 0.0 && value < 0x1p63) || value != std::floor(value))
    return refuse();
  return static_cast<std::uint64_t>(value);
}

CLI::Option* add_count(CLI::App& app, const std::string& name, std::uint64_t& to,
                       const std::string& description) {
  return app
      .add_option_function<std::string>(
          name, [&to](const std::string& text) { to = count_of(text); }, description)
      ->type_name("COUNT");
}

CLI::Option* add_number(CLI::App& app, const std::string& name, std::optional<double>& to,
                        const std::string& description) {
  const auto take = [&to, name](const double& value) {
    if (!std::isfinite(value)) throw CLI::ValidationError(name + " must be a finite number");
    to = value;
  };
  return app.add_option_function<double>(name, take, description)->type_name("NUMBER");
}

void add_text(CLI::App& app, input_options& in) {
  app.add_flag("--heading", in.heading, "The first record is a heading, even if it looks like numbers");
  app.add_flag("--no-heading", in.no_heading, "The first record is data")->excludes("--heading");
  app.add_option("--separator", in.separator,
                 "comma, semicolon, tab, space or a character; guessed otherwise")
      ->type_name("WORD");
  app.add_option("--comment", in.comment,
                 "Lines that start with this character are skipped (#); none: no comments")
      ->type_name("CHARACTER");
}

void add_input(CLI::App& app, input_options& in, const char* file_description) {
  app.add_option("file", in.file, file_description)->required()->type_name("FILE");
  app.add_option("-x,--x", in.x, "Column of the breakpoints, by name or number from 1 (the first one)")
      ->type_name("COLUMN");
  app.add_option("-y,--y", in.y, "Columns of the values, separated by commas (all others)")
      ->delimiter(',')
      ->type_name("COLUMN,...");
  add_text(app, in);
  app.add_flag("--sort", in.sort, "Sort the rows by x first; holds all of them in memory");
  app.add_flag("--mean-duplicates", in.mean_duplicates,
               "Merge rows of equal x into one with the mean of their values");
}

void add_outside(CLI::App& app, spline_choice& spline) {
  app.add_option(
         "--outside", spline.outside,
         "Outside the data: proceed (the end polynomial continues), clamp, wrap, nan, refuse, or a number")
      ->type_name("WORD");
}

// What some kinds are made of beside values.
void add_needs(CLI::App& app, spline_choice& spline) {
  app.add_option("--slopes", spline.slopes,
                 "For kind hermite: columns of the slopes, one for each column of values")
      ->delimiter(',')
      ->type_name("COLUMN,...");
  app.add_option("--curvatures", spline.curvatures,
                 "For kind second-derivatives: columns of the second derivatives, one for each column of "
                 "values")
      ->delimiter(',')
      ->type_name("COLUMN,...");
  const auto take = [&spline](const std::vector<double>& midpoints) {
    if (!std::all_of(midpoints.begin(), midpoints.end(), [](double m) { return std::isfinite(m); }))
      throw CLI::ValidationError("--midpoints must be finite numbers");
    spline.midpoints = midpoints;
  };
  app.add_option_function<std::vector<double>>(
         "--midpoints", take,
         "For kind quadratic: of each column of values the one halfway between the first two rows")
      ->delimiter(',')
      ->type_name("NUMBER,...");
}

void add_ends(CLI::App& app, spline_choice& spline) {
  app.add_option("--ends", spline.ends,
                 "Both ends: own, free, not-a-knot, periodic, slope=NUMBER or curvature=NUMBER (the kind's "
                 "own)")
      ->type_name("END");
  app.add_option("--left", spline.left, "The left end only")->type_name("END");
  app.add_option("--right", spline.right, "The right end only")->type_name("END");
}

void add_spline(CLI::App& app, spline_choice& spline) {
  std::string all;
  for (const std::string& name : kind_names())
    all += (all.empty() ? "" : ", ") + name;
  app.add_option("-k,--kind", spline.kind, "Kind of spline: " + all + " (cubic, also called natural)")
      ->check(CLI::IsMember(kind_names()).description(""))
      ->type_name("KIND");
  add_needs(app, spline);
  add_ends(app, spline);
  add_outside(app, spline);
}

void add_output(CLI::App& app, output_options& out) {
  app.add_option("-o,--output", out.file, "File to write; - or nothing: standard output")->type_name("FILE");
  app.add_option("--format", out.format, "csv, tsv or npy, whatever the file is called")
      ->check(CLI::IsMember({"csv", "tsv", "npy"}).description(""))
      ->type_name("FORMAT");
}

void add_quiet(CLI::App& app, output_options& out) {
  app.add_flag("-q,--quiet", out.quiet, "No progress and no notes");
}

void add_derivatives(CLI::App& app, std::vector<int>& derivatives) {
  const auto take = [&derivatives](const std::vector<int>& wanted) {
    derivatives = wanted;
    std::sort(derivatives.begin(), derivatives.end());
    derivatives.erase(std::unique(derivatives.begin(), derivatives.end()), derivatives.end());
  };
  app.add_option_function<std::vector<int>>("-d,--derivatives", take,
                                            "Orders of derivatives, 0 being the value (0)")
      ->delimiter(',')
      ->check(CLI::Range(0, 3).description(""))
      ->type_name("ORDER,...");
}

void add_grid(CLI::App& app, site_choice& sites) {
  add_number(app, "--step", sites.step, "Distance of the sites, from the first breakpoint on");
  add_count(app, "-n,--n", sites.n, "Number of equidistant sites, both ends included");
  add_number(app, "--from", sites.from, "First site for --step and --n (the first breakpoint)");
  add_number(app, "--to", sites.to, "Last site for --step and --n (the last breakpoint)");
  app.add_option("--at", sites.at, "Sites from the first column of a file")->type_name("FILE");
  app.add_option("--like", sites.like, "Sites from the x column of another table")->type_name("FILE");
}

void set_examples(CLI::App& app, const char* examples) {
  app.footer(std::string("Examples:\n") + examples);
}

// A subcommand whose options live as long as the command line.
template <class Options>
CLI::App& add(command_line& line, const char* name, const char* description, int (*run)(const Options&),
              std::shared_ptr<Options>& options) {
  options = std::make_shared<Options>();
  CLI::App& app = *line.app.add_subcommand(name, description);
  app.callback([&line, options, run] { line.chosen = [options, run] { return run(*options); }; });
  return app;
}

constexpr const char* table_file =
    "Table: CSV, TSV or another text with separators, or .npy; - for standard input";

void add_resample(command_line& line) {
  std::shared_ptr<resample_options> o;
  CLI::App& app = add(line, "resample", "Evaluate the columns of a table at other values of x", resample, o);
  add_input(app, o->in, table_file);
  add_grid(app, o->sites);
  add_derivatives(app, o->derivatives);
  add_spline(app, o->spline);
  add_output(app, o->out);
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit resample in.csv --x time --step 1e-6 --kind akima -o out.csv\n"
               "  ravenfit resample in.csv -n 1000 --y temperature,pressure\n"
               "  ravenfit resample slow.csv --like fast.csv --x time -o both.csv\n"
               "  ravenfit resample in.csv --y a,b --kind hermite --slopes a_d1,b_d1 --step 0.1\n"
               "  zcat in.csv.gz | ravenfit resample - --step 0.1 | head");
}

void add_eval(command_line& line) {
  std::shared_ptr<resample_options> o;
  CLI::App& app =
      add(line, "eval", "Values and derivatives at given sites, of a table or of a curve", evaluate, o);
  add_input(app, o->in, "Table, or curve written by fit");
  app.add_option("--at", o->sites.at, "Sites from the first column of a file")->type_name("FILE");
  app.add_option("--sites", o->sites.list, "Sites, separated by commas")
      ->delimiter(',')
      ->type_name("NUMBER,...");
  add_derivatives(app, o->derivatives);
  add_spline(app, o->spline);
  add_output(app, o->out);
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit eval in.csv --x t --at sites.csv --derivatives 0,1 --outside clamp\n"
               "  ravenfit eval curve.rfit --sites 0.5,3.25");
}

void add_fit(command_line& line) {
  std::shared_ptr<fit_options> o;
  CLI::App& app = add(line, "fit", "Save the splines of a table in a file, for eval and integrate", fit, o);
  add_input(app, o->in, table_file);
  add_spline(app, o->spline);
  app.add_option("-o,--output", o->out.file, "File to write, usually .rfit")->required()->type_name("FILE");
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit fit in.csv --x t -o curve.rfit\n"
               "  ravenfit fit period.csv --ends periodic --outside wrap -o curve.rfit");
}

void add_integrate(command_line& line) {
  std::shared_ptr<integrate_options> o;
  CLI::App& app = add(line, "integrate", "Integrals of the columns of a table, or of a curve", integrate, o);
  add_input(app, o->in, "Table, or curve written by fit");
  add_number(app, "--from", o->from, "Lower limit (the first breakpoint)");
  add_number(app, "--to", o->to, "Upper limit (the last breakpoint); below the lower one the sign changes");
  add_spline(app, o->spline);
  add_output(app, o->out);
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit integrate in.csv --x t --from 0 --to 10\n"
               "  ravenfit integrate curve.rfit");
}

void add_smooth(command_line& line) {
  std::shared_ptr<resample_options> o;
  CLI::App& app = add(line, "smooth", "Smooth noisy columns by splines", smooth, o);
  add_input(app, o->in, table_file);
  add_number(app, "--lambda", o->lambda,
             "Weight of the roughness, 0 or more (found by generalised cross-validation, and printed on "
             "standard error)");
  app.add_option("--weights", o->weights,
                 "Column of weights, all above 0: 1 / s^2 where values have the standard deviation s (1)")
      ->type_name("COLUMN");
  add_grid(app, o->sites);
  add_derivatives(app, o->derivatives);
  add_outside(app, o->spline);
  add_output(app, o->out);
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit smooth in.csv --x t -o out.csv\n"
               "  ravenfit smooth in.csv --x t --y a --weights w -o out.csv\n"
               "  ravenfit smooth in.csv --x t --lambda 0.01 -n 500 --derivatives 0,1 -o out.csv");
}

void add_plot(command_line& line) {
  std::shared_ptr<plot_options> o;
  CLI::App& app = add(line, "plot", "Draw the data and curves through them, with gnuplot", plot, o);
  add_input(app, o->in, table_file);
  app.add_option("--kinds", o->kinds, "Kinds of splines, separated by commas (cubic)")
      ->delimiter(',')
      ->check(CLI::IsMember(kind_names()).description(""))
      ->type_name("KIND,...");
  add_needs(app, o->spline);
  add_ends(app, o->spline);
  add_count(app, "-n,--n", o->n, "Sites of each curve (1000)");
  app.add_option("--size", o->size, "WIDTHxHEIGHT, in pixels or characters")->type_name("SIZE");
  app.add_option("-o,--output", o->out.file, "A .svg or .png file (a plot in the terminal)")
      ->type_name("FILE");
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit plot in.csv --x t --y a,b --kinds natural,akima,pchip -o curves.svg\n"
               "  ravenfit plot in.csv");
}

void add_sample(command_line& line) {
  std::shared_ptr<sample_options> o;
  CLI::App& app = add(line, "sample", "Random numbers and quasi-random points", sample, o);
  app.add_option("generator", o->generator,
                 "sobol, niederreiter, mcg31, r250, mrg32k3a, mcg59, wichmann-hill, mt19937, mt2203, "
                 "sfmt19937 or rdrand; "
                 "mt2203:17 is a member of a family")
      ->required()
      ->type_name("GENERATOR");
  add_count(app, "-n,--n", o->n, "Rows")->required();
  app.add_option("--dim", o->dimension, "Columns; coordinates of a point (1)")->type_name("COUNT");
  add_count(app, "--skip", o->skip, "Rows to skip at the start");
  add_count(app, "--seed", o->seed, "Seed, below 2^32 (1)");
  const auto scramble = [o](const std::string& text) { o->scramble = count_of(text); };
  app.add_option_function<std::string>("--scramble", scramble, "Scramble Sobol points with this seed")
      ->type_name("SEED");
  const auto flag = [&](const char* name, const char* distribution, const char* description) {
    return app.add_flag_callback(
        name, [o, distribution] { o->distribution = distribution; }, description);
  };
  CLI::Option* const normal = flag("--normal", "normal", "Normal variates instead of uniform ones");
  CLI::Option* const exponential = flag("--exponential", "exponential", "Exponential variates");
  CLI::Option* const log_normal =
      flag("--log-normal", "log-normal", "Log-normal variates; mean and sigma are those of the logarithm");
  normal->excludes(exponential)->excludes(log_normal);
  exponential->excludes(log_normal);
  CLI::Option* const mean = add_number(app, "--mean", o->first, "Mean (0, for exponential variates 1)");
  CLI::Option* const sigma = add_number(app, "--sigma", o->second, "Standard deviation (1)");
  CLI::Option* const low = add_number(app, "--low", o->first, "Lower end of uniform numbers (0)");
  CLI::Option* const high = add_number(app, "--high", o->second, "Upper end of uniform numbers (1)");
  sigma->excludes(exponential);
  for (CLI::Option* const bound : {low, high})
    bound->excludes(normal)->excludes(exponential)->excludes(log_normal)->excludes(mean)->excludes(sigma);
  app.callback([&line, o, mean, sigma] {
    if ((mean->count() > 0 || sigma->count() > 0) && o->distribution == "uniform")
      throw CLI::ValidationError("--mean and --sigma go with --normal, --exponential or --log-normal");
    line.chosen = [o] { return sample(*o); };
  });
  add_output(app, o->out);
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit sample sobol --dim 16 --n 1e6 --skip 1M --normal -o points.npy\n"
               "  ravenfit sample mt19937 --n 1000 --seed 42 --low -1 --high 1");
}

void add_check(command_line& line) {
  std::shared_ptr<check_options> o;
  CLI::App& app = add(line, "check", "Describe a table, and which spline suits it", check, o);
  app.add_option("file", o->in.file, table_file)->required()->type_name("FILE");
  app.add_option("-x,--x", o->in.x, "Column of the breakpoints, by name or number from 1 (the first one)")
      ->type_name("COLUMN");
  add_text(app, o->in);
  add_quiet(app, o->out);
  set_examples(app,
               "  ravenfit check in.csv\n"
               "  ravenfit check in.csv --x time && ravenfit resample in.csv --x time -n 100");
}

void add_info(command_line& line) {
  CLI::App& app = *line.app.add_subcommand("info", "Version, kernel level and why, what would be faster");
  app.callback([&line] { line.chosen = info; });
  set_examples(app, "  ravenfit info");
}

}  // namespace

std::unique_ptr<command_line> make_command_line() {
  auto line = std::make_unique<command_line>();
  line->app.name("ravenfit");
  line->app.description("Splines through the columns of tables, and random numbers.");
  line->app.set_version_flag("--version", std::string("ravenfit ") + rvnVersion(), "Print the version");
  line->app.set_help_flag("-h,--help", "Print this help");
  line->app.require_subcommand(0, 1);
  auto format = std::make_shared<formatter>();
  format->column_width(28);
  format->label("SUBCOMMAND", "COMMAND");
  format->label("SUBCOMMANDS", "COMMANDS");
  line->app.formatter(format);
  add_resample(*line);
  add_eval(*line);
  add_fit(*line);
  add_integrate(*line);
  add_smooth(*line);
  add_plot(*line);
  add_sample(*line);
  add_check(*line);
  add_info(*line);
  line->app.footer(
      "`ravenfit COMMAND --help` lists the options of a command, with examples.\n"
      "Exit code: 0 for success, 1 if the data or a file is at fault, 2 if the arguments are.");
  return line;
}

}  // namespace command
