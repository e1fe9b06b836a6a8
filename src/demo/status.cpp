#include "demo/status.h"

#include <cstdint>

namespace rvn {
namespace {

struct StatusText {
  std::int32_t status;
  const char* text;
};

constexpr StatusText statusTexts[] = {
    {-1000, "Error: null task descriptor (code %d).\n"},
    {-1001, "Error: memory allocation failure in DF functionality (code %d).\n"},
    {-1004, "Error: the number of breakpoints is invalid (code %d).\n"},
    {-1005, "Error: the array which contains the breakpoints is not defined (code %d).\n"},
    {-1006, "Error: invalid flag describing structure of partition (code %d).\n"},
    {-1007, "Error: invalid dimension of vector-valued function y (code %d).\n"},
    {-1008, "Error: the array which contains function values is invalid (code %d).\n"},
    {-1009, "Error: invalid flag describing structure of function y (code %d).\n"},
    {-1010, "Error: invalid spline order (code %d).\n"},
    {-1011, "Error: invalid type of the spline (code %d).\n"},
    {-1012, "Error: invalid type of internal conditions used in the spline construction (code %d).\n"},
    {-1013, "Error: array of internal conditions for spline construction is not defined (code %d).\n"},
    {-1014, "Error: invalid type of boundary conditions used in the spline construction (code %d).\n"},
    {-1015,
     "Error: array which presents boundary conditions for spline construction is not defined (code %d).\n"},
    {-1016, "Error: array of piece-wise polynomial spline coefficients is not defined (code %d).\n"},
    {-1017,
     "Error: invalid flag describing structure of the piece-wise polynomial spline coefficients (code "
     "%d).\n"},
    {-1018,
     "Error: function values at the end points of the interpolation interval are not equal as required in "
     "periodic boundary conditions (code %d).\n"},
    {-1019,
     "Error: invalid attribute of the pointer to be set or modified in Data Fitting task descriptor with "
     "EditIdxPtr editor (code %d).\n"},
    {-1020,
     "Error: index of pointer to be set or modified in Data Fitting task descriptor with EditIdxPtr editor "
     "is out of range (code %d).\n"},
    {-1021, "Error: invalid number of interpolation sites (code %d).\n"},
    {-1022, "Error: array of interpolation sites is not defined (code %d).\n"},
    {-1023, "Error: invalid flag describing structure of interpolation sites (code %d).\n"},
    {-1024,
     "Error: invalid size of array that defines order of the derivatives to be computed at the interpolation "
     "sites (code %d).\n"},
    {-1025,
     "Error: array defining derivative orders to be computed at interpolation sites is not defined (code "
     "%d).\n"},
    {-1026,
     "Error: invalid flag providing a-priori information about partition and/or interpolation sites (code "
     "%d).\n"},
    {-1027, "Error: array of spline based interpolation results is not defined (code %d).\n"},
    {-1028, "Error: invalid flag defining structure of spline based interpolation results (code %d).\n"},
    {-1029,
     "Error: array of indices of partition cells containing interpolation sites is not defined (code %d).\n"},
    {-1030, "Error: invalid size of arrays containing integration limits (code %d).\n"},
    {-1031, "Error: array of left integration limits is not defined (code %d).\n"},
    {-1032, "Error: array of right integration limits is not defined (code %d).\n"},
    {-1033, "Error: array of spline based integration results is not defined (code %d).\n"},
    {-1034, "Error: invalid flag defining structure of spline based integration results (code %d).\n"},
    {-1035, "Error: bad site provided for interpolation with look-up interpolator (code %d).\n"},
    {-1037, "Error: bad pointer provided in DF function (code %d).\n"},
};

}  // namespace

const char* statusText(std::int32_t status) {
  for (const StatusText& row : statusTexts)
    if (row.status == status) return row.text;
  return nullptr;
}

}  // namespace rvn
