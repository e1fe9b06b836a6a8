#ifndef RAVENFIT_VETRA_DATA_FITTING_H
#define RAVENFIT_VETRA_DATA_FITTING_H

#include <ravenfit/export.h>
#include <ravenfit/version.h>

/*
 * The class that the vetraDataFitting library exports: two demonstrations that run the data-fitting engine
 * end to end on a sampled sine and print what they find on standard output. It holds no data.
 */
class VetraDataFitting {
 public:
  RVN_API VetraDataFitting();
  RVN_API VetraDataFitting& operator=(const VetraDataFitting&);

  // A shorter run over 6 breakpoints that prints the data alone. Returns 0.
  RVN_API int test();

  // Natural cubic spline over 9 breakpoints of sin(2 pi 1.7 t) on [0, 2], value and second derivative at 40
  // random sites, compared with an independent evaluation. Prints data, coefficients, results and the
  // verdict. Returns 0 if all results agree, 1 if not; ends the process with exit code 1 if an operation
  // fails.
  RVN_API int main_example();
};

#endif
