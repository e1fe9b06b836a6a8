#pragma once

// Kinds that are made of more than values: of slopes or second derivatives in columns, or of a value between two rows.

#include <string>
#include <vector>

#include "curve.h"
#include "xy_data.h"

namespace command {

// Refuses kinds without what they need, and what none of them needs.
void check_needs(const spline_choice& choice, const std::vector<std::string>& kinds);
// The columns to be read beside those of values.
given_columns given_of(const spline_choice& choice);
// Refuses more or fewer of them than there are columns of values.
void check_counts(const spline_choice& choice, const xy_reader& data);

// The curve of the choice's kind through rows that were read with these columns. The rows stay the caller's, and stay as they
// are.
curve curve_through(const xy_rows& rows, const spline_choice& choice, bool has_left = true,
                    bool has_right = true);

}  // namespace command
