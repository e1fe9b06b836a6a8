// sample: random numbers and quasi-random points as rows of a table.

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <variant>

#include "errors.h"
#include "options.h"
#include "output.h"
#include "progress.h"
#include "table_writer.h"

#include <ravenfit/ravenfit.hpp>

namespace command {

namespace {

constexpr std::size_t values_in_a_block = std::size_t{1} << 16;

struct generator_row {
  const char* name;
  ravenfit::generator which;
};
const generator_row generators[] = {
    {"mcg31", ravenfit::mcg31},
    {"r250", ravenfit::r250},
    {"mrg32k3a", ravenfit::mrg32k3a},
    {"mcg59", ravenfit::mcg59},
    {"wichmann-hill", ravenfit::wichmann_hill()},
    {"mt19937", ravenfit::mt19937},
    {"mt2203", ravenfit::mt2203()},
    {"sfmt19937", ravenfit::sfmt19937},
    {"rdrand", ravenfit::rdrand},
};

// "mt2203", or "mt2203:17" for a member of a family.
ravenfit::generator generator_called(const std::string& text) {
  const std::size_t colon = text.find(':');
  const std::string name = text.substr(0, colon);
  for (const generator_row& row : generators) {
    if (name != row.name) continue;
    std::int32_t member = 0;
    if (colon != std::string::npos) {
      const char* const end = text.data() + text.size();
      const auto [rest, failed] = std::from_chars(text.data() + colon + 1, end, member);
      RsgInfo facts;
      if (failed != std::errc() || rest != end || rsgGeneratorInfo(row.which.id, &facts) != RSG_STATUS_OK ||
          member < 0 || member >= facts.members)
        throw use_error("\"" + text + "\": there is no such member of the family");
    }
    return {row.which.id + member};
  }
  std::string all = "sobol, niederreiter";
  for (const generator_row& row : generators)
    all += std::string(", ") + row.name;
  throw use_error("there is no generator \"" + text + "\"; there are " + all);
}

std::uint32_t word(std::uint64_t seed) {
  if (seed > UINT32_MAX) throw use_error(fmt::format("--seed {}: seeds must be below 2^32", seed));
  return static_cast<std::uint32_t>(seed);
}

// One of the distributions into an array, and the parameters that are not said.
void draw(ravenfit::stream& from, const sample_options& options, ravenfit::view<double> to) {
  const double a = options.first.value_or(options.distribution == "exponential" ? 1.0 : 0.0);
  const double b = options.second.value_or(1.0);
  if (options.distribution == "normal")
    from.fill_normal(to, a, b);
  else if (options.distribution == "log-normal")
    from.fill_log_normal(to, a, b);
  else if (options.distribution == "exponential")
    from.fill_exponential(to, a);
  else
    from.fill_uniform(to, a, b);
}

}  // namespace

int sample(const sample_options& options) {
  const bool sobol = options.generator == "sobol";
  const bool quasi_random = sobol || options.generator == "niederreiter";
  if (options.dimension < 1) throw use_error("--dim must be 1 or more");
  if (options.scramble && !sobol) throw use_error("--scramble goes with sobol alone");
  const auto dimension = static_cast<std::uint64_t>(options.dimension);
  if (options.n > UINT64_MAX / dimension / sizeof(double) || options.skip > UINT64_MAX / dimension)
    throw use_error("that is more numbers than can be counted");

  ravenfit::stream source;
  try {
    if (sobol) {
      ravenfit::sobol points(options.dimension);
      if (options.scramble) points.scramble(*options.scramble);
      source = std::move(points.coordinates());
    } else if (quasi_random) {
      source = std::move(ravenfit::niederreiter(options.dimension).coordinates());
    } else {
      source = ravenfit::stream(generator_called(options.generator), word(options.seed));
    }
    if (options.skip > 0) source.skip(options.skip * dimension);
    // What the distribution does not take is known before a file is begun.
    draw(source, options, {});
  } catch (const ravenfit::error& why) {
    throw use_error(options.generator + ": " + why.what());
  }

  output to(options.out.file);
  const auto columns = static_cast<std::size_t>(dimension);
  table_writer writer(to, format_of(options.out.file, options.out.format), columns, {});
  progress shown(options.out.quiet, options.n, " rows");
  const std::size_t rows = std::max<std::size_t>(values_in_a_block / columns, 1);
  std::vector<double> block(rows * columns);
  for (std::uint64_t done = 0; done < options.n;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(rows, options.n - done));
    draw(source, options, {block.data(), n * columns});
    writer.write(nullptr, block.data(), n);
    done += n;
    shown.at(done);
  }
  writer.finish();
  to.commit();
  return 0;
}

}  // namespace command
