#pragma once

// Input of the demonstrations: a sampled sine and random sites. Both return a DfStatus.

#include <cstdint>

namespace rvn {

// y[i] = sin(2 pi frequency t_i) at n equidistant t_i from left to right, t being accumulated step by step.
std::int32_t makeSineData(double* y, double frequency, double left, double right, std::int32_t n);

// n uniform random numbers between left and right, in no order.
std::int32_t makeRandomSites(double* sites, double left, double right, std::int32_t n);

}  // namespace rvn
