#pragma once

// The per-level kernels of what is done with splines beside building and evaluating them. Tasks that get here have
// polynomial pieces of the form `pieces`, and all their rows of coefficients.

#include <cstdint>

#include "task/spline_kind.h"

namespace rvn {

// The index of the first of nx >= 1 breakpoints that is not finite or not above its predecessor, or -1.
using CheckBreakpoints = std::int64_t (*)(std::int64_t nx, const double* x);

struct IntegrateCall {
  std::int64_t n;
  const double* left;
  const double* right;
  double* r;
  bool bySite;  // the integrals of all functions over a pair stand side by side
};

using Integrate = std::int32_t (*)(const DfTask& task, Pieces pieces, const IntegrateCall& call);

// Rows of coefficients, one after another, for pieces that join at breakpoints.
struct CalculusKernels {
  void (*antiderivative)(const DfTask& task, double* coeff);
  void (*derivative)(const DfTask& task, double* coeff);
};

struct SolveCall {
  std::int64_t f;
  double value;
  double a;
  double b;
  std::int64_t room;
  double* sites;
  std::int64_t* count;
};

// For pieces up to order 4.
using Solve = std::int32_t (*)(const DfTask& task, Pieces pieces, const SolveCall& call);

struct InverseCall {
  std::int64_t f;
  std::int64_t n;
  const double* values;
  double* sites;
};

using Invert = std::int32_t (*)(const DfTask& task, Pieces pieces, const InverseCall& call);

// Each by the address of its record, which another unit fills in.
struct SplineToolKernels {
  const CheckBreakpoints* checkBreakpoints;
  const Integrate* integrate;
  const CalculusKernels* calculus;
  const Solve* solve;
  const Invert* invert;
};

}  // namespace rvn
