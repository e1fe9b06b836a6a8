// Cubic smoothing splines of many functions over one partition.

#include <cstdint>

#include "construct/scratch.h"
#include "construct/smoothing_fit.h"
#include "construct/smoothing_kernels.h"
#include "construct/smoothing_search.h"
#include "construct/smoothing_system.h"
#include "construct/smoothing_units.h"
#include "vector/elementary.h"

#include <ravenfit/smoothing.h>

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The condition of a system is about 8 lambda times the growth of its diagonal. Up to these bounds one, two and three
// refinements are enough; above the last the numbers are pairs of doubles, and up to the one after it they need none.
constexpr double onceRefined = 1e6 / 8.0;
constexpr double twiceRefined = 1e9 / 8.0;
constexpr double ofDoubles = 1e12 / 8.0;
constexpr double ofPairs = 1e22 / 8.0;

// The least lambda that is tried, times the growth: smoothed values then differ from the given ones by a millionth of
// their noise.
constexpr double interpolating = 1e-6;
constexpr double sampleFactor = 4.0;
constexpr double logSampleFactor = 1.3862943611198906;
constexpr double searchTolerance = 3e-6;  // of ln lambda

class Smoother {
 public:
  explicit Smoother(const SmoothingCall& call) : call_(call), n_(call.nx) {}

  std::int32_t run() {
    using Arrays = SmoothingArrays<Lanes>;
    using System = SmoothingSystem<double>;
    // The lanes first: they are aligned like the block.
    const std::int64_t lanes = Arrays::length(n_) * laneCount;
    auto* const block = scratch_.allocate<double>(lanes + (3 + System::arrays) * (n_ + 1) + 2 * call_.ny);
    if (block == nullptr) return DF_ERROR_MEMORY;
    lanes_ = block;
    data_ = {n_, block + lanes, block + lanes + (n_ + 1), block + lanes + 2 * (n_ + 1)};
    units_ = SmoothingUnits(call_, data_);
    doubles_ = System(data_, block + lanes + 3 * (n_ + 1));
    best_ = block + lanes + (3 + System::arrays) * (n_ + 1);
    growth_ = doubles_.growth();
    const double given = scaled(call_.lambda, -units_.lambda);
    if (!takePairs(call_.crossValidated ? units_.mostLambda * sampleFactor : given)) return DF_ERROR_MEMORY;
    const bool done = call_.crossValidated ? validated() : smoothAll(given);
    return done ? std::int32_t{DF_STATUS_OK} : std::int32_t{DF_ERROR_SMOOTH_SCALE};
  }

 private:
  bool takePairs(double mostLambda) {
    using System = SmoothingSystem<Twofold>;
    if (mostLambda * growth_ <= ofDoubles) return true;
    const std::int64_t arrays = SmoothingArrays<Twofold>::length(n_);
    pairArrays_ = pairScratch_.allocate<Twofold>(arrays + System::arrays * (n_ + 1));
    if (pairArrays_ == nullptr) return false;
    pairs_ = System(data_, pairArrays_ + arrays);
    return true;
  }

  // Calls use(system) with the factored system of a lambda; false if it has no factors.
  template <class Use>
  bool withSystem(double lambda, Use use) {
    if (lambda * growth_ <= ofDoubles) {
      if (!doubles_.factor(lambda)) return false;
      use(doubles_);
    } else {
      if (!pairs_.factor(lambda)) return false;
      use(pairs_);
    }
    return true;
  }

  // Calls use(f, arrays) for functions from .. to - 1, with the solutions for their values.
  template <class Use>
  void solveFunctions(const SmoothingSystem<double>& system, std::int64_t from, std::int64_t to, Use use) {
    forLanes(from, to, [&]<class V>(std::int64_t f, V) {
      const SmoothingArrays<V> arrays(reinterpret_cast<V*>(lanes_), n_);
      solveValues(call_, f, data_, system, arrays);
      use(f, arrays);
    });
  }

  template <class Use>
  void solveFunctions(const SmoothingSystem<Twofold>& system, std::int64_t from, std::int64_t to, Use use) {
    for (; from < to; ++from) {
      const SmoothingArrays<Twofold> arrays(pairArrays_, n_);
      solveValues(call_, from, data_, system, arrays);
      use(from, arrays);
    }
  }

  bool smoothFunctions(double lambda, std::int64_t from, std::int64_t to) {
    const double condition = lambda * growth_;
    const int ofDouble = condition <= onceRefined ? 1 : condition <= twiceRefined ? 2 : 3;
    const int ofPair = condition <= ofPairs ? 0 : 1;
    const int refinements = lambda == 0.0 ? 0 : condition <= ofDoubles ? ofDouble : ofPair;
    return withSystem(lambda, [&](const auto& system) {
      solveFunctions(system, from, to, [&](std::int64_t f, const auto& arrays) {
        smooth(data_, system, refinements, arrays);
        storeSpline(call_, f, data_, units_, system.alpha(), arrays);
      });
    });
  }

  void tell(double lambda, std::int64_t f) {
    if (call_.lambdaUsed != nullptr) call_.lambdaUsed[f] = lambda;
  }

  bool smoothAll(double lambda) {
    if (!smoothFunctions(lambda, 0, call_.ny)) return false;
    for (std::int64_t f = 0; f < call_.ny; ++f)
      tell(call_.lambda, f);
    return true;
  }

  // Calls keep(f, score) for functions from .. to - 1.
  template <class Keep>
  bool scoreFunctions(double lambda, std::int64_t from, std::int64_t to, Keep keep) {
    return withSystem(lambda, [&](const auto& system) {
      const double trace = system.traceOfRoughness();
      solveFunctions(system, from, to, [&](std::int64_t f, const auto& arrays) {
        const auto score = rounded(validationScore(data_, trace, arrays.u));
        if constexpr (sizeof score == sizeof(double)) {
          keep(f, score);
        } else {
          for (std::int64_t k = 0; k < laneCount; ++k)
            keep(f + k, score[k]);
        }
      });
    });
  }

  // The place of the least score near the best sample; infinite where the system has no factors.
  double refined(double sample, double score, std::int64_t f) {
    const double middle = logarithm(sample);
    const auto scoreAt = [&](double logLambda) {
      double found = __builtin_inf();
      scoreFunctions(exponential(logLambda), f, f + 1, [&](std::int64_t, double one) { found = one; });
      return found;
    };
    return exponential(placeOfMinimum(middle - logSampleFactor, middle, middle + logSampleFactor, score,
                                      searchTolerance, scoreAt));
  }

  bool validated() {
    const double least = interpolating / growth_;
    double* const best = best_;
    double* const sample = best_ + call_.ny;
    for (std::int64_t f = 0; f < call_.ny; ++f) {
      best[f] = __builtin_inf();
      sample[f] = least;
    }
    double last = 0.0;
    for (double lambda = least; last < units_.mostLambda; lambda *= sampleFactor) {
      const bool factored = scoreFunctions(lambda, 0, call_.ny, [&](std::int64_t f, double score) {
        if (!(score <= best[f])) return;
        best[f] = score;
        sample[f] = lambda;
      });
      if (!factored) return false;
      last = lambda;
    }
    for (std::int64_t f = 0; f < call_.ny; ++f) {
      const bool inside = sample[f] > least && sample[f] < last;
      const double lambda = inside ? refined(sample[f], best[f], f) : sample[f];
      if (!smoothFunctions(lambda, f, f + 1)) return false;
      tell(scaled(lambda, units_.lambda), f);
    }
    return true;
  }

  const SmoothingCall& call_;
  std::int64_t n_;
  Scratch scratch_;
  Scratch pairScratch_;
  SmoothingData data_ = {};
  SmoothingUnits units_ = {};
  SmoothingSystem<double> doubles_;
  SmoothingSystem<Twofold> pairs_;
  double* lanes_ = nullptr;
  Twofold* pairArrays_ = nullptr;
  double* best_ = nullptr;  // scores of the functions' best samples, and their lambdas
  double growth_ = 0.0;
};

std::int32_t smoothSplines(const SmoothingCall& call) {
  return Smoother(call).run();
}

}  // namespace

extern const SmoothingKernels smoothingKernels;
const SmoothingKernels smoothingKernels = {smoothSplines};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
