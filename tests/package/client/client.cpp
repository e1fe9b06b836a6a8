// A C++ client of both shared libraries.
#include <ravenfit/data_fitting.h>
#include <ravenfit/vetra_data_fitting.h>

int main() {
  VetraDataFitting first;
  VetraDataFitting second;
  second = first;
  DfTask* none = nullptr;
  if (dfTaskDestroy(&none) != DF_ERROR_NULL_TASK) return 1;
  return second.test() + second.main_example();
}
