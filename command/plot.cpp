// plot: the curves of several kinds through the data, drawn by gnuplot.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "curve.h"
#include "errors.h"
#include "given.h"
#include "output.h"
#include "progress.h"
#include "xy_data.h"

namespace command {

namespace {

// More points than a plot can show are left out.
constexpr std::size_t most_points = 5000;

// A string of gnuplot's that stands for itself.
std::string quoted(const std::string& text) {
  std::string made = "'";
  for (const char c : text) {
    if (c == '\'') made += '\'';
    made += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
  }
  return made + "'";
}

bool ends_with(const std::string& text, const std::string& ending) {
  return text.size() > ending.size() && text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

std::string size_of(const plot_options& options, const char* usual) {
  if (options.size.empty()) return usual;
  unsigned width = 0;
  unsigned height = 0;
  char rest = 0;
  if (std::sscanf(options.size.c_str(), "%ux%u%c", &width, &height, &rest) != 2 || width < 10 || height < 5 ||
      width > 20000 || height > 20000)
    throw use_error("--size must be WIDTHxHEIGHT, such as 800x500, not \"" + options.size + "\"");
  return fmt::format("{},{}", width, height);
}

std::string terminal_of(const plot_options& options) {
  if (options.out.file == "-") {
    struct winsize window {};
    const bool known = ::ioctl(1, TIOCGWINSZ, &window) == 0 && window.ws_col >= 20 && window.ws_row >= 10;
    const std::string usual = known ? fmt::format("{},{}", window.ws_col, window.ws_row - 1) : "79,24";
    return "dumb noenhanced size " + size_of(options, usual.c_str());
  }
  if (ends_with(options.out.file, ".svg"))
    return "svg noenhanced dynamic background 'white' size " + size_of(options, "900,560");
  if (ends_with(options.out.file, ".png")) return "pngcairo noenhanced size " + size_of(options, "900,560");
  throw use_error("-o takes a name that ends in .svg or .png, not \"" + options.out.file + "\"");
}

std::string points(const std::vector<double>& x, const double* y, std::size_t stride) {
  std::string rows;
  const std::size_t every = std::max<std::size_t>(x.size() / most_points, 1);
  for (std::size_t i = 0; i < x.size(); i += every)
    fmt::format_to(std::back_inserter(rows), "{} {}\n", x[i], y[i * stride]);
  return rows;
}

void run_gnuplot(const std::string& script) {
  if (std::system("command -v gnuplot >/dev/null 2>&1") != 0)
    throw data_error("gnuplot is not installed; it draws the plots (Debian: gnuplot-nox)");
  std::fflush(stdout);
  std::FILE* const pipe = ::popen("gnuplot", "w");
  if (pipe == nullptr) throw data_error("gnuplot does not start");
  std::fwrite(script.data(), 1, script.size(), pipe);
  if (::pclose(pipe) != 0) throw data_error("gnuplot failed; its message is above");
}

}  // namespace

int plot(const plot_options& options) {
  if (options.n < 2 || options.n > 10'000'000) throw use_error("--n must be 2 to 10 million");
  std::string script = "set terminal " + terminal_of(options) + "\n";
  check_needs(options.spline, options.kinds);
  xy_reader data(options.in, given_of(options.spline));
  check_counts(options.spline, data);
  xy_rows rows;
  {
    progress shown(options.out.quiet, data.table().source().size());
    rows = data.read_all(shown);
  }
  const std::vector<double>& x = rows.x;
  const std::size_t functions = data.functions();

  std::vector<double> sites(static_cast<std::size_t>(options.n));
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const double share = static_cast<double>(i) / static_cast<double>(sites.size() - 1);
    sites[i] = x.front() * (1.0 - share) + x.back() * share;
  }
  std::vector<std::string> titles;
  for (std::size_t f = 0; f < functions; ++f) {
    script += fmt::format("$block{} << RAVENFIT_END\n{}RAVENFIT_END\n", titles.size(),
                          points(x, rows.y.data() + f, functions));
    titles.push_back(functions == 1 && options.kinds.size() == 1 ? "data" : data.y_names()[f]);
  }
  for (const std::string& kind : options.kinds) {
    spline_choice choice = options.spline;
    choice.kind = kind;
    require_rows(data.table().source().name(), x.size(), choice);
    const curve made = curve_through(rows, choice);
    std::vector<double> values(sites.size() * functions);
    made.evaluate(sites, {0}, values.data());
    for (std::size_t f = 0; f < functions; ++f) {
      script += fmt::format("$block{} << RAVENFIT_END\n{}RAVENFIT_END\n", titles.size(),
                            points(sites, values.data() + f, functions));
      titles.push_back(functions == 1 ? kind : data.y_names()[f] + ", " + kind);
    }
  }

  output to(options.out.file);
  if (options.out.file != "-") script += "set output " + quoted(to.path_to_write()) + "\n";
  script += "set key outside top center horizontal\nset grid\nset xlabel " + quoted(data.x_name()) + "\n";
  if (functions == 1) script += "set ylabel " + quoted(data.y_names()[0]) + "\n";
  for (std::size_t k = 0; k < titles.size(); ++k)
    script += fmt::format("{}$block{} using 1:2 with {} title {}", k == 0 ? "plot " : ", ", k,
                          k < functions ? "points pt 7 ps 0.6" : "lines lw 1.5", quoted(titles[k]));
  run_gnuplot(script + "\n");
  to.commit();
  return 0;
}

}  // namespace command
