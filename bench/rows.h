#pragma once

// Each source of the benchmark registers its rows; a row's benchmarks are named "<row>|<who>", who being
// ravenfit, plain (a textbook loop compiled at -O2), gsl, boost, alglib, std (std::mt19937 with its distribution), lapack,
// c (the C operation, where the row is of C++) or limit (the row's loads and stores alone), and set items processed to the
// elements they worked on.

namespace bench {

void registerConstructRows();
void registerSolveRows();
void registerStreamRows();
void registerStreamToolRows();
void registerCallRows();
void registerSearchRows();
void registerEvaluateRows();
void registerChannelRows();
void registerSplineToolRows();
void registerSmoothingRows();
void registerVariateRows();
void registerCppRows();

}  // namespace bench
