#include "plain_streams.h"

namespace bench {

void plainUniform(PlainWichmannHill& state, std::size_t n, double* values, double a, double b) {
  PlainWichmannHill s = state;
  const double width = b - a;
  for (std::size_t i = 0; i < n; ++i) {
    const double sum = ((s.x[0] * s.r[0] + s.x[1] * s.r[1]) + s.x[2] * s.r[2]) + s.x[3] * s.r[3];
    values[i] = (sum - static_cast<double>(static_cast<int>(sum))) * width + a;
    for (int j = 0; j < 4; ++j)
      s.x[j] = static_cast<std::uint32_t>(std::uint64_t{s.mult[j]} * s.x[j] % s.m[j]);
  }
  state = s;
}

}  // namespace bench
