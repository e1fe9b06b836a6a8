#pragma once

#include <cstdint>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t smaller(std::int64_t a, std::int64_t b) {
  return a < b ? a : b;
}

constexpr std::int64_t larger(std::int64_t a, std::int64_t b) {
  return a > b ? a : b;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
