#pragma once

// The textbook generators that the stream rows are compared with: one output at a time, compiled at -O2 without
// level flags.

#include <cstddef>
#include <cstdint>
#include <functional>

namespace bench {

// Fills n values of the interval from a to b; holds the state.
using PlainFill = std::function<void(std::size_t n, double* values, double a, double b)>;

// The generator of the library's brngId (RSG_BRNG_*, first member), seeded alike. Null: no such generator here.
PlainFill plainStream(std::int32_t brngId, std::uint32_t seed);

}  // namespace bench
