#pragma once

// Parameters of the members of MT2203.

#include <cstdint>

#include "mt2203/candidates.h"

namespace mt2203 {

constexpr int members = 6024;
constexpr int worstDefect = 713;  // of the members that are given

struct Row {
  std::uint32_t matrixA;
  std::uint32_t temperB;
  std::uint32_t temperC;
};

// The low 16 bits of the member's `matrixA`, which differ from member to member: 1, 2, 3 and so on, but for
// the members that are given: the first two and the last.
std::uint16_t lowBits(int member);

// The first candidate with a maximal period and, tempered, a total defect of 713 at most.
Row findRow(const Sieve& sieve, int member);

}  // namespace mt2203
