#pragma once

// .rfit files: a spline's coefficients, with the names of its columns.
//
// A line "ravenfit curve 1", then little-endian: order, kind and outside (int32 each), number of functions, breakpoints and
// name bytes (uint64), the constant outside (double), the names, each ended by a 0 byte, x first; the breakpoints and the
// rows of coefficients (doubles); and an FNV-1a sum (uint64) of everything before it.

#include <string>

#include "curve.h"
#include "output.h"

namespace command {

bool is_curve_file(const std::string& path);
void write_curve(output& to, const curve::parts& parts);
// Refuses what is cut, damaged, of a later version, or no curve.
curve::parts read_curve(const std::string& path);

}  // namespace command
