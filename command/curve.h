#pragma once

// A spline of all columns: made of breakpoints and values, or loaded from a .rfit file.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "options.h"

#include <ravenfit/ravenfit.hpp>

namespace command {

// The names of the kinds that can be asked for.
const std::vector<std::string>& kind_names();

// How far a breakpoint's influence reaches, in breakpoints on either side, so that a window of the data gives the values
// of the whole: 0 where it reaches everywhere.
std::size_t reach_of(const spline_choice& choice);

// What a kind is made of beside values.
enum class need { nothing, slopes, curvatures, midpoints };
need need_of(const std::string& kind);
const char* kind_that_needs(need what);

// What is said of an end, or nothing.
const std::string& left_end(const spline_choice& choice);
const std::string& right_end(const spline_choice& choice);
ravenfit::end_condition end_of(const std::string& text);

// Kind, ends and outside in the terms of the library, of a kind that is made of values alone. `has_left` and `has_right` say
// whether the data have their true ends there; an end of a window takes what needs nothing.
ravenfit::spline_options spline_options_of(const spline_choice& choice, bool has_left = true,
                                           bool has_right = true);

// Refuses a table with fewer rows than the kind needs.
void require_rows(const std::string& file, std::size_t rows, const spline_choice& choice);

// What the spline is outside of its partition, if anything is said.
void set_outside(ravenfit::spline_options& options, const std::string& text);

class curve {
 public:
  // y: the values of all columns at a breakpoint side by side. Both arrays stay the caller's, and stay as they are.
  curve(ravenfit::view<const double> x, ravenfit::view<const double> y,
        const ravenfit::spline_options& options);

  // Of coefficients, as a file keeps them.
  struct parts {
    std::int32_t order = DF_ORDER_CUBIC;
    std::int32_t kind = DF_KIND_DEFAULT;
    std::int32_t outside = DF_OUTSIDE_CONTINUE;
    double outside_value = 0.0;
    std::string x_name;
    std::vector<std::string> y_names;
    std::vector<double> x;
    std::vector<double> coefficients;
  };
  explicit curve(parts loaded);

  std::size_t functions() const { return functions_; }
  double first() const { return first_; }
  double last() const { return last_; }
  const ravenfit::spline* made() const { return made_.get(); }
  const parts& loaded() const { return loaded_; }

  // Derivatives at sites; out[(i * orders + k) * functions + f].
  void evaluate(ravenfit::view<const double> sites, const std::vector<int>& derivatives, double* out) const;
  // From a to b, one for each function.
  std::vector<double> integrals(double a, double b) const;

 private:
  const DfTask* task() const { return made_ != nullptr ? made_->task() : task_.get(); }

  std::unique_ptr<ravenfit::spline> made_;
  parts loaded_;
  std::unique_ptr<DfTask, ravenfit::detail::destroy_task> task_;
  std::size_t functions_;
  double first_;
  double last_;
};

// The same for one that was loaded.
void override_outside(curve::parts& parts, const std::string& text);
// What a file keeps of a curve that was made.
curve::parts parts_of(const curve& made, const spline_choice& choice, const std::string& x_name,
                      const std::vector<std::string>& y_names);

}  // namespace command
