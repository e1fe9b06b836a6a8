#include <new>

#include <ravenfit/vetra_data_fitting.h>

namespace rvn {

// The constructor as the Microsoft compiler calls it: the address comes in ECX and is also the result, which GCC's
// constructors do not have. The export list gives this function the constructor's name.
VetraDataFitting* __thiscall constructForMsvcCaller(VetraDataFitting* place);

VetraDataFitting* __thiscall constructForMsvcCaller(VetraDataFitting* place) {
  return new (place) VetraDataFitting;
}

}  // namespace rvn
