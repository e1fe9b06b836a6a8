#pragma once

// Boost's splines. Its pchip calls isnan without a namespace, so that the C header must come first.

// clang-format off
#include <math.h>
#include <boost/math/interpolators/makima.hpp>
#include <boost/math/interpolators/pchip.hpp>
// clang-format on
