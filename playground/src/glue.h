#pragma once

// What the page asks of the library: a curve through points, sampled at sites, and points of a generator. Arrays are the
// caller's, in the module's memory. The native program of the tests calls the same functions.

#include <cstdint>

#if defined(__EMSCRIPTEN__)
#define PLAY_EXPORT(name) extern "C" __attribute__((export_name(#name)))
#else
#define PLAY_EXPORT(name) extern "C"
#endif

// The spline of nx points in words of dfTaskEditSpline, sampled at nsite sites: r receives nsite values, as many slopes and
// as many second derivatives. Knots of DF_KIND_SUBBOTIN are the midpoints of cells, whatever icType and ic say. coeff has
// room for order * nx doubles. Returns 0 or a DF_ERROR status.
PLAY_EXPORT(play_curve)
std::int32_t playCurve(std::int32_t nx, const double* x, const double* y, std::int32_t order,
                       std::int32_t kind, std::int32_t bcType, const double* bc, std::int32_t icType,
                       const double* ic, std::int32_t outside, double outsideValue, std::int32_t nsite,
                       const double* site, double* coeff, double* r);

// The same of the smoothing spline; *lambda receives the one used. A negative lambda asks for cross-validation.
PLAY_EXPORT(play_smooth)
std::int32_t playSmooth(std::int32_t nx, const double* x, const double* y, double* lambda,
                        std::int32_t outside, double outsideValue, std::int32_t nsite, const double* site,
                        double* coeff, double* r);

// The first n values over [0, 1) of a generator RSG_BRNG_*; of quasi-random ones, in so many dimensions, coordinate by
// coordinate. With a scrambling (RSG_SCRAMBLING_*, else -1) they are scrambled Sobol points. Returns 0 or an RSG_ERROR
// status.
PLAY_EXPORT(play_draw)
std::int32_t playDraw(std::int32_t generator, std::uint32_t seed, std::int32_t dimension,
                      std::int32_t scrambling, std::int32_t n, double* r);

// What a status means, closed by a zero: 1 for fits, 2 for streams.
PLAY_EXPORT(play_status)
const char* playStatus(std::int32_t domain, std::int32_t status);
