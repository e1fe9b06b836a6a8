#pragma once

// What the arguments say, as plain records: command_line.cpp fills them, each subcommand takes its own.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace command {

// Which table, and which of its columns.
struct input_options {
  std::string file;
  std::string x;               // empty: the first column
  std::vector<std::string> y;  // empty: all others
  bool heading = false;
  bool no_heading = false;
  std::string separator;  // empty: guessed
  std::string comment = "#";
  bool sort = false;
  bool mean_duplicates = false;
};

struct spline_choice {
  std::string kind = "cubic";
  std::string ends;  // both, unless left or right says otherwise; empty: what the kind does by itself
  std::string left;
  std::string right;
  std::string outside;  // empty: not said
  // What some kinds need beside values: columns, one for each column of values, or numbers.
  std::vector<std::string> slopes;
  std::vector<std::string> curvatures;
  std::vector<double> midpoints;
};

struct output_options {
  std::string file = "-";
  std::string format;  // empty: by the name of the file
  bool quiet = false;
};

// At which sites. One of them is said; with none of them the breakpoints themselves are taken.
struct site_choice {
  std::optional<double> step;
  std::uint64_t n = 0;
  std::string at;    // a file, its first column
  std::string like;  // a file, its column of x
  std::vector<double> list;
  std::optional<double> from;
  std::optional<double> to;
};

struct resample_options {
  input_options in;
  spline_choice spline;
  site_choice sites;
  std::vector<int> derivatives = {0};
  output_options out;
  std::optional<double> lambda;  // of smooth
  std::string weights;           // of smooth: a column; empty: all are 1
};

struct fit_options {
  input_options in;
  spline_choice spline;
  output_options out;
};

struct integrate_options {
  input_options in;
  spline_choice spline;
  std::optional<double> from;
  std::optional<double> to;
  output_options out;
};

struct plot_options {
  input_options in;
  spline_choice spline;
  std::vector<std::string> kinds = {"cubic"};
  std::uint64_t n = 1000;
  std::string size;
  output_options out;
};

struct sample_options {
  std::string generator;
  std::uint64_t n = 0;
  std::uint64_t skip = 0;
  int dimension = 1;
  std::uint64_t seed = 1;
  std::optional<std::uint64_t> scramble;
  std::string distribution = "uniform";
  std::optional<double> first;  // of the two parameters of the distribution
  std::optional<double> second;
  output_options out;
};

struct check_options {
  input_options in;
  output_options out;
};

int resample(const resample_options& options);
int evaluate(const resample_options& options);
int smooth(const resample_options& options);
int fit(const fit_options& options);
int integrate(const integrate_options& options);
int plot(const plot_options& options);
int sample(const sample_options& options);
int check(const check_options& options);
int info();

}  // namespace command
