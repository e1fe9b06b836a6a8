// A client of the component parallel.
#include <ravenfit/parallel.hpp>

int main() {
  std::vector<double> alone(100000);
  std::vector<double> together(alone.size());
  ravenfit::stream g(ravenfit::mrg32k3a, 3);
  ravenfit::stream h = g;
  g.fill_normal(alone);
  ravenfit::parallel::fill_normal(h, together);
  return alone == together ? 0 : 1;
}
