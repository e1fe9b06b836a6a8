// Every spline kind, those first that are used most.

#include "task/spline_kind.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const SplineKind natural;
extern const SplineKind akima;
extern const SplineKind linear;
extern const SplineKind hermite;
extern const SplineKind bessel;
extern const SplineKind modifiedAkima;
extern const SplineKind pchip;
extern const SplineKind steffen;
extern const SplineKind secondDerivatives;
extern const SplineKind subbotin;
extern const SplineKind quadratic;
extern const SplineKind stepRight;
extern const SplineKind stepLeft;
extern const SplineKind lookup;
extern const SplineKind anyOrder;

namespace {

constexpr const SplineKind* rows[] = {
    &natural,           &akima,    &linear,    &hermite,   &bessel,   &modifiedAkima, &pchip,    &steffen,
    &secondDerivatives, &subbotin, &quadratic, &stepRight, &stepLeft, &lookup,        &anyOrder,
};

template <std::int64_t n>
constexpr std::int64_t lengthOf(const SplineKind* const (&)[n]) {
  return n;
}

}  // namespace

extern const SplineKinds splineKinds;
const SplineKinds splineKinds = {rows, lengthOf(rows)};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
