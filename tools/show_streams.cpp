// Prints points of a quasi-random sequence, one a line, for docs/plot_streams.py:
//
//   show_streams sobol|niederreiter DIMENSION COUNT

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <ravenfit/random_streams.h>

namespace {

struct Sequence {
  const char* name;
  std::int32_t brngId;
};
constexpr Sequence sequences[] = {{"sobol", RSG_BRNG_SOBOL}, {"niederreiter", RSG_BRNG_NIEDERREITER}};

// 0 if the text is not a number from 1 to `most`.
std::int32_t number(const char* text, long most) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  return *end != '\0' || value < 1 || value > most ? 0 : static_cast<std::int32_t>(value);
}

int show(std::int32_t brngId, std::int32_t dimension, std::int32_t count) {
  RsgStream* stream = nullptr;
  if (rsgNewStream(&stream, brngId, static_cast<std::uint32_t>(dimension)) != RSG_STATUS_OK) return 1;
  std::vector<double> point(static_cast<std::size_t>(dimension));
  for (std::int32_t i = 0; i < count; ++i) {
    vdRngUniform(RNG_UNIFORM_PLAIN, stream, dimension, point.data(), 0.0, 1.0);
    for (const double x : point)
      std::printf("%.10g ", x);
    std::puts("");
  }
  return rsgDeleteStream(&stream) == RSG_STATUS_OK ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::int32_t dimension = argc == 4 ? number(argv[2], 318) : 0;
  const std::int32_t count = argc == 4 ? number(argv[3], INT32_MAX) : 0;
  for (const Sequence& one : sequences)
    if (dimension > 0 && count > 0 && std::strcmp(argv[1], one.name) == 0)
      return show(one.brngId, dimension, count);
  std::fputs("usage: show_streams sobol|niederreiter DIMENSION COUNT\n", stderr);
  return 2;
}
