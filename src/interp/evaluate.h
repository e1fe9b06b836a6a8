#pragma once

// Evaluators: one block of sites with known cells, one function, all requested derivatives.

#include <cstdint>

#include "task/spline_kind.h"

namespace rvn {

// The requested derivatives of a call. Results of a site are packed in ascending order of derivative;
// positions at or above nres are never written.
struct Wanted {
  std::int64_t nres;  // results per site and function
  std::int64_t ndorder;
  const void* dorder;
  bool wide;           // entries of dorder are 64-bit
  std::uint32_t low4;  // bit k: derivative k, for k below 4
};

// `piece` and `t` are the piece of each site and its distance to the piece's left point, see PreparePieces.
struct EvalBlock {
  const DfTask* task;
  const Wanted* wanted;
  double h;  // step of a uniform partition
  std::int64_t nfunc;
  std::int64_t f;  // the function
  std::int64_t nblock;
  const double* blockSites;
  const std::int32_t* blockCells;
  const std::int32_t* piece;
  const double* t;
  double* work;          // a vector per coefficient, for anyOrderPieces above generalOrderInFrame
  double* blockResults;  // position k of site i at i * nres + k
};

// Orders above 4 up to this one are evaluated in the frame; higher ones take EvalBlock::work.
constexpr std::int64_t generalOrderInFrame = 10;

// Returns a DfStatus; a negative one means that nothing was written.
using Evaluator = std::int32_t (*)(const EvalBlock& block);

// Finds the pieces of a block, once for all functions.
using PreparePieces = void (*)(const EvalBlock& block, std::int32_t* piece, double* t);

// A call that is served in one pass: one function on a uniform partition or at many sorted sites, whose pieces begin
// at breakpoints and whose cells nobody asks for, and at least a vector of sites.
struct PassCall {
  const DfTask* task;
  double h;            // of a uniform partition
  double spacing;      // likewise, as its search takes it
  std::uint32_t low4;  // see Wanted; every derivative has a formula
  std::int64_t nsite;
  const double* site;
  double* results;  // result k of site i at k * rowLength + i
  std::int64_t rowLength;
};

using PassEvaluator = void (*)(const PassCall& call);

struct PieceKernels {
  PreparePieces prepare[2][2];  // by uniform partition, by pieces that join at knots
};

struct BlockKernels {
  Evaluator evaluate[3];  // by Pieces, up to cubicPieces
};

struct PassKernels {
  PassEvaluator evaluate[3];  // by Pieces, up to cubicPieces
};

struct StepKernels {
  Evaluator evaluate[3];  // by Pieces, from stepLeftPieces on
};

}  // namespace rvn
