#pragma once

// A data-fitting task with arrays of its own, for tests.

#include <cstdint>
#include <vector>

#include <raven/data_fitting.h>

namespace support {

struct Settings {
  std::int32_t order = DF_ORDER_CUBIC;
  std::int32_t kind = DF_KIND_NATURAL;
  std::int32_t bcType = DF_END_FREE;
  const double* bc = nullptr;
  std::int32_t icType = DF_IC_NONE;
  const double* ic = nullptr;
};

// Creates and edits a task over x and y; destroys it at the end. Under DF_XHINT_UNIFORM x holds the two ends.
class Task {
 public:
  Task(std::int32_t nx, std::vector<double> x, std::int32_t xhint, std::int32_t ny, std::vector<double> y,
       std::int32_t yhint, const Settings& settings)
      : x_(std::move(x)), y_(std::move(y)) {
    const auto functions = static_cast<std::size_t>(ny > 1 ? ny : 1);
    const auto cells = static_cast<std::size_t>(settings.kind == DF_KIND_SUBBOTIN ? nx : nx - 1);
    coeff_.assign(functions * cells * static_cast<std::size_t>(settings.order), -77.0);
    status = dfTaskCreate(&task_, nx, x_.data(), xhint, ny, y_.empty() ? nullptr : y_.data(), yhint);
    if (status == DF_STATUS_OK)
      status = dfTaskEditSpline(task_, settings.order, settings.kind, settings.bcType, settings.bc,
                                settings.icType, settings.ic, coeff_.empty() ? nullptr : coeff_.data(),
                                DF_COEFF_DEFAULT);
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { dfTaskDestroy(&task_); }

  DfTask* get() const { return task_; }
  std::vector<double>& coeff() { return coeff_; }
  const double* x() const { return x_.data(); }

  std::int32_t status = DF_STATUS_OK;

 private:
  std::vector<double> x_;
  std::vector<double> y_;
  std::vector<double> coeff_;
  DfTask* task_ = nullptr;
};

}  // namespace support
