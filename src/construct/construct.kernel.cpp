#include "construct/construct_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const FamilyDispatcher linearFamily;
extern const FamilyDispatcher quadraticFamily;
extern const FamilyDispatcher secondDerivativesFamily;
extern const FamilyDispatcher naturalFamily;
extern const FamilyDispatcher hermiteFamily;
extern const FamilyDispatcher besselFamily;
extern const FamilyDispatcher akimaFamily;

extern const ConstructKernels constructKernels;
const ConstructKernels constructKernels = {
    .linear = &linearFamily,
    .quadratic = &quadraticFamily,
    .secondDerivatives = &secondDerivativesFamily,
    .natural = &naturalFamily,
    .hermite = &hermiteFamily,
    .bessel = &besselFamily,
    .akima = &akimaFamily,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
