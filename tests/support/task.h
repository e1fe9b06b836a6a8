#pragma once

// A data-fitting task with arrays of its own, for tests.

#include <cstdint>
#include <utility>
#include <vector>

#include <ravenfit/data_fitting.h>

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
       std::int32_t yhint, const Settings& settings, std::int32_t coeffHint = DF_COEFF_DEFAULT)
      : x_(std::move(x)), y_(std::move(y)) {
    const auto functions = static_cast<std::size_t>(ny > 1 ? ny : 1);
    const auto cells = static_cast<std::size_t>(settings.kind == DF_KIND_SUBBOTIN ? nx : nx - 1);
    coeff_.assign(functions * cells * static_cast<std::size_t>(settings.order), -77.0);
    status = dfTaskCreate(&task_, nx, x_.data(), xhint, ny, y_.empty() ? nullptr : y_.data(), yhint);
    if (status == DF_STATUS_OK)
      status =
          dfTaskEditSpline(task_, settings.order, settings.kind, settings.bcType, settings.bc,
                           settings.icType, settings.ic, coeff_.empty() ? nullptr : coeff_.data(), coeffHint);
  }
  Task(Task&& other) noexcept
      : status(other.status),
        x_(std::move(other.x_)),
        y_(std::move(other.y_)),
        coeff_(std::move(other.coeff_)),
        task_(std::exchange(other.task_, nullptr)) {}
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { dfTaskDestroy(&task_); }

  DfTask* get() const { return task_; }
  std::vector<double>& coeff() { return coeff_; }
  const std::vector<double>& coeff() const { return coeff_; }
  const double* x() const { return x_.data(); }

  std::int32_t status = DF_STATUS_OK;

 private:
  std::vector<double> x_;
  std::vector<double> y_;
  std::vector<double> coeff_;
  DfTask* task_ = nullptr;
};

struct Query {
  std::vector<double> sites;
  std::vector<std::int32_t> dorder = {};
  std::int32_t rhint = DF_RESULTS_DEFAULT;
  std::int32_t want = DF_WANT_INTERPOLATE;
  std::int32_t sitehint = DF_SITES_NONE;
  const double* datahint = nullptr;
  std::int32_t nsite = 0;  // 0: as many as `sites`
};

inline std::int32_t interpolate(const Task& task, const Query& q, std::vector<double>& r,
                                std::int32_t* cells = nullptr) {
  return dfTaskInterpolate(
      task.get(), q.want, 1, q.nsite != 0 ? q.nsite : static_cast<std::int32_t>(q.sites.size()),
      q.sites.data(), q.sitehint, static_cast<std::int32_t>(q.dorder.size()),
      q.dorder.empty() ? nullptr : q.dorder.data(), q.datahint, r.data(), q.rhint, cells);
}

}  // namespace support
