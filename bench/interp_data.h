#pragma once

// Partitions and sites of the search and evaluation rows.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include <ravenfit/data_fitting.h>

namespace bench {

// Sites in batches: a batch is one call, and calls rotate, so that the branch predictor cannot learn them.
struct InterpData {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> coeff;  // natural cubic spline
  DfTask* general = nullptr;
  DfTask* quasiUniform = nullptr;
  DfTask* uniform = nullptr;  // null if the breakpoints are irregular
  std::vector<double> randomSites;
  std::vector<double> sortedSites;
  double step = 0.0;

  InterpData(std::size_t nx, bool equidistant, std::size_t nsite) : x(nx), y(nx), coeff(4 * (nx - 1)) {
    std::mt19937_64 random(nx);
    std::uniform_real_distribution<double> gap(0.5, 1.5);
    double at = 1.0;
    step = 1.0;
    for (double& value : x) {
      value = at;
      at += equidistant ? 1.0 : gap(random);
    }
    // Near their places at equal distances, as the quasi-uniform hint promises.
    nearlyUniform_ = x;
    for (std::size_t i = 0; i < nx; ++i)
      nearlyUniform_[i] = 1.0 + static_cast<double>(i) + 0.3 * (gap(random) - 1.0);
    for (std::size_t i = 0; i < nx; ++i)
      y[i] = std::sin(0.3 * x[i]);
    const auto count = static_cast<std::int32_t>(nx);
    const auto make = [&](DfTask*& task, std::int32_t xhint, const double* breakpoints) {
      dfTaskCreate(&task, count, breakpoints, xhint, 1, y.data(), DF_VALUES_DEFAULT);
      dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                       coeff.data(), DF_COEFF_DEFAULT);
    };
    ends_[0] = x.front();
    ends_[1] = x.back();
    make(general, DF_XHINT_NONE, x.data());
    make(quasiUniform, DF_XHINT_QUASI_UNIFORM, nearlyUniform_.data());
    if (equidistant) make(uniform, DF_XHINT_UNIFORM, ends_);
    dfTaskConstruct(general, 0, 0);
    std::uniform_real_distribution<double> where(x.front(), x.back());
    randomSites.resize(nsite);
    for (double& s : randomSites)
      s = where(random);
    sortedSites = randomSites;
    std::sort(sortedSites.begin(), sortedSites.end());
  }
  InterpData(const InterpData&) = delete;
  InterpData& operator=(const InterpData&) = delete;
  ~InterpData() {
    dfTaskDestroy(&general);
    dfTaskDestroy(&quasiUniform);
    dfTaskDestroy(&uniform);
  }

  const std::vector<double>& nearlyUniform() const { return nearlyUniform_; }

 private:
  std::vector<double> nearlyUniform_;
  double ends_[2] = {};
};

// One data set per partition, kept for all rows.
inline InterpData& interpData(std::size_t nx, bool equidistant) {
  static std::map<std::pair<std::size_t, bool>, std::unique_ptr<InterpData>> kept;
  std::unique_ptr<InterpData>& data = kept[{nx, equidistant}];
  if (data == nullptr) data = std::make_unique<InterpData>(nx, equidistant, 1000000);
  return *data;
}

// The batch of a call: all sites at once, or `batch` sites, every 64th call the same ones. Sorted batches
// span the whole partition.
class Batches {
 public:
  Batches(const std::vector<double>& sites, std::size_t batch) : sites_(sites), size_(batch) {
    if (batch == sites.size()) return;
    for (std::size_t b = 0; b < 64; ++b)
      for (std::size_t i = 0; i < batch; ++i)
        rotated_.push_back(sites[i * (sites.size() / batch) + b]);
  }
  const double* next() {
    if (rotated_.empty()) return sites_.data();
    current_ = (current_ + 1) % 64;
    return rotated_.data() + current_ * size_;
  }
  std::size_t size() const { return size_; }

 private:
  const std::vector<double>& sites_;
  std::size_t size_;
  std::size_t current_ = 0;
  std::vector<double> rotated_;
};

}  // namespace bench
