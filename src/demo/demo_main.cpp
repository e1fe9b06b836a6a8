#include <ravenfit/vetra_data_fitting.h>

int main() {
  VetraDataFitting demonstration;
  return demonstration.main_example();
}
