#pragma once

// Piece-wise polynomials from their definition, in long double, with the packing of results; shares no
// formula with the library.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "support/dense_spline.h"

#include <ravenfit/data_fitting.h>

namespace support {

// What a call should leave in `r`, and how far off each element may be.
struct Expected {
  std::vector<double> r;
  std::vector<double> tolerance;
};

struct ModelCall {
  std::vector<double> x;  // all breakpoints
  const std::vector<double>* coeff;
  std::int64_t order;
  std::int64_t functions;
  std::vector<double> sites;
  std::vector<std::int64_t> dorder;
  std::int32_t rhint;
};

// Elements that no position belongs to, or no request of the call, are 0; `guard` elements of -77 follow.
inline Expected expectedResults(const ModelCall& call, std::size_t guard) {
  std::int64_t nres = 0;
  for (const std::int64_t entry : call.dorder)
    nres += entry;
  std::vector<std::int64_t> requests;
  for (std::size_t k = 0; k < call.dorder.size(); ++k)
    if (call.dorder[k] != 0) requests.push_back(static_cast<std::int64_t>(k));
  if (nres <= 0) {
    nres = 1;
    requests = {0};
  }
  const auto nsite = static_cast<std::int64_t>(call.sites.size());
  const auto nx = static_cast<std::int64_t>(call.x.size());
  const auto total = static_cast<std::size_t>(call.functions * nres * nsite);
  Expected expected = {std::vector<double>(total + guard, 0.0), std::vector<double>(total + guard, 0.0)};
  std::fill(expected.r.end() - static_cast<std::ptrdiff_t>(guard), expected.r.end(), -77.0);
  const DenseSpline spline(call.x, static_cast<std::size_t>(call.order));
  for (std::int64_t f = 0; f < call.functions; ++f) {
    for (std::int64_t i = 0; i < nsite; ++i) {
      const double s = call.sites[static_cast<std::size_t>(i)];
      std::int64_t q = 0;
      while (q < nx - 2 && s >= call.x[static_cast<std::size_t>(q + 1)])
        ++q;
      const double* c = call.coeff->data() + f * (nx - 1) * call.order;
      for (std::int64_t k = 0; k < std::min<std::int64_t>(nres, std::ssize(requests)); ++k) {
        const std::int64_t wanted = requests[static_cast<std::size_t>(k)];
        // The constant derivative of splines of order 5 and above is not computed.
        if (wanted >= call.order || (wanted > 3 && wanted == call.order - 1)) continue;
        const bool derivsInner = call.rhint == DF_RESULTS_DERIVS_INNER || call.rhint == 128;
        const auto at =
            static_cast<std::size_t>(derivsInner ? (f * nsite + i) * nres + k : (f * nres + k) * nsite + i);
        long double sum = 0.0L;
        long double magnitude = 0.0L;
        for (const auto& [power, factor] :
             spline.term(static_cast<std::size_t>(q), s, static_cast<int>(wanted))) {
          sum += factor * c[power];
          magnitude += std::fabs(factor * c[power]);
        }
        expected.r[at] = static_cast<double>(sum);
        // 2 roundings per Horner step and one in t, which counts once per power.
        expected.tolerance[at] =
            static_cast<double>(magnitude) * 4.0 * static_cast<double>(call.order) * 0x1p-53;
      }
    }
  }
  return expected;
}

}  // namespace support
