#include <cstdint>

#include "dispatch/solver_kernels.h"
#include "runtime/messages.h"

#include <ravenfit/tridiagonal.h>

namespace {

using Reporter = void (*)(const char* name, const std::int32_t* info, std::int32_t nameLength);

// Stores and reports a bad argument; `info` itself may be the missing one.
void refuse(Reporter report, const char* name, std::int32_t nameLength, std::int32_t position,
            std::int32_t* info) {
  report(name, &position, nameLength);
  if (info != nullptr) *info = -position;
}

// Position of the first missing band of a matrix of order n, `first` being the position of dl; 0 if none is.
std::int32_t missingBand(std::int32_t n, const double* dl, const double* d, const double* du,
                         std::int32_t first) {
  if (n > 1 && dl == nullptr) return first;
  if (n > 0 && d == nullptr) return first + 1;
  if (n > 1 && du == nullptr) return first + 2;
  return 0;
}

std::int32_t checkFactorSolve(const std::int32_t* n, const std::int32_t* nrhs, const double* dl,
                              const double* d, const double* du, const double* b, const std::int32_t* ldb,
                              const std::int32_t* info) {
  if (n == nullptr || *n < 0) return 1;
  if (nrhs == nullptr || *nrhs < 0) return 2;
  if (ldb == nullptr || *n > *ldb) return 7;
  if (info == nullptr) return 8;
  if (*nrhs == 0) return 0;
  if (const std::int32_t band = missingBand(*n, dl, d, du, 3)) return band;
  return *n > 0 && b == nullptr ? 6 : 0;
}

std::int32_t checkFactor(const std::int32_t* n, const double* dl, const double* d, const double* du,
                         const std::int32_t* info) {
  if (n == nullptr || *n < 0) return 1;
  if (info == nullptr) return 5;
  return missingBand(*n, dl, d, du, 2);
}

bool isNoTranspose(char trans) {
  return (trans & ~0x20) == 'N';
}

bool isTranspose(char trans) {
  return trans == 'T' || trans == 't' || trans == 'C' || trans == 'c';
}

std::int32_t checkSolve(const char* trans, const std::int32_t* n, const std::int32_t* nrhs, const double* dl,
                        const double* d, const double* du, const double* b, const std::int32_t* ldb,
                        const std::int32_t* info) {
  if (trans == nullptr || !(isNoTranspose(*trans) || isTranspose(*trans))) return 1;
  if (n == nullptr || *n < 0) return 2;
  if (nrhs == nullptr || *nrhs < 0) return 3;
  if (ldb == nullptr || *n > *ldb) return 8;
  if (info == nullptr) return 9;
  if (*nrhs == 0) return 0;
  if (const std::int32_t band = missingBand(*n, dl, d, du, 4)) return band;
  return *n > 0 && b == nullptr ? 7 : 0;
}

}  // namespace

extern "C" {

void DDTSVB(const std::int32_t* n, const std::int32_t* nrhs, double* dl, double* d, const double* du,
            double* b, const std::int32_t* ldb, std::int32_t* info) {
  rvn::rvnSetParameterErrorHandler(rvn::rvnReportParameterError);
  if (const std::int32_t bad = checkFactorSolve(n, nrhs, dl, d, du, b, ldb, info)) {
    refuse(rvn::rvnReportParameterError, "DDTSVB", 6, bad, info);
    return;
  }
  if (*n == 0 || *nrhs == 0) {
    *info = 0;
    return;
  }
  *info = static_cast<std::int32_t>(rvn::solverKernels().factorSolve(*n, *nrhs, dl, d, du, b, *ldb));
}

void DDTTRFB(const std::int32_t* n, double* dl, double* d, const double* du, std::int32_t* info) {
  rvn::rvnSetParameterErrorHandler(rvn::rvnReportParameterError);
  if (const std::int32_t bad = checkFactor(n, dl, d, du, info)) {
    refuse(rvn::rvnReportParameterError, "DDTTRFB", 7, bad, info);
    return;
  }
  if (*n == 0) {
    *info = 0;
    return;
  }
  *info = static_cast<std::int32_t>(rvn::solverKernels().factor(*n, dl, d, du));
}

void DDTTRSB(const char* trans, const std::int32_t* n, const std::int32_t* nrhs, const double* dl,
             const double* d, const double* du, double* b, const std::int32_t* ldb, std::int32_t* info) {
  if (const std::int32_t bad = checkSolve(trans, n, nrhs, dl, d, du, b, ldb, info)) {
    refuse(rvn::rvnReportError, "DDTTRSB", 7, bad, info);
    return;
  }
  *info = 0;
  if (*n == 0 || *nrhs == 0) return;
  rvn::solverKernels().solve(isTranspose(*trans), *n, *nrhs, dl, d, du, b, *ldb);
}

}  // extern "C"
