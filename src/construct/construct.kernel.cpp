#include "construct/construct_kernels.h"
#include "runtime/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const FamilyDispatcher naturalFamily;

extern const ConstructKernels constructKernels;
const ConstructKernels constructKernels = {
    .linear = nullptr,
    .quadratic = nullptr,
    .secondDerivatives = nullptr,
    .natural = &naturalFamily,
    .hermite = nullptr,
    .bessel = nullptr,
    .akima = nullptr,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
