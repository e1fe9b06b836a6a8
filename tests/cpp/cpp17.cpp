#include <ravenfit/ravenfit.hpp>

// Every template of the headers once.
double everyTemplate(const std::vector<double>& x) {
  ravenfit::spline s(x, x, ravenfit::pchip());
  std::vector<double> out(x.size());
  const bool good = s.try_at(x, out).ok() && s.try_at<1>(std::vector<float>(x.begin(), x.end()), out).ok();
  return good ? s(1.0) : 0.0;
}
