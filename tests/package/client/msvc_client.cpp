// A client that is compiled for the ABI of the Microsoft compiler: names, and constructors that return their object.
#include <ravenfit/vetra_data_fitting.h>

int main() {
  VetraDataFitting first;
  VetraDataFitting second;
  if (&(second = first) != &second) return 2;
  VetraDataFitting* const third = &(second = VetraDataFitting());
  return third->main_example();
}
