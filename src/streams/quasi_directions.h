#pragma once

// Direction numbers of the quasi-random sequences.
//
// A coordinate has 32 of them, number[c] for bit c of the Gray code of a point's index. Bit 31 is the first
// binary digit of a coordinate in [0, 1), so that number[c], c = 0 .. 31, are the columns of the coordinate's
// generator matrix.

#include <cstdint>

namespace rvn {

constexpr int directionCount = 32;
constexpr int sobolDimensions = 40;
constexpr int niederreiterDimensions = 318;

// Of a primitive polynomial of degree s, whose bit k is the coefficient of x^k, and m[0] .. m[s - 1]; the rest of m is
// written.
void sobolDirections(std::uint32_t polynomial, std::uint32_t (&m)[directionCount],
                     std::uint32_t (&number)[directionCount]);

// The library's own; coordinates count from 0.
void sobolDirections(int coordinate, std::uint32_t (&number)[directionCount]);
void niederreiterDirections(int coordinate, std::uint32_t (&number)[directionCount]);

}  // namespace rvn
