#pragma once

// Doubles as decimals, by fmt and fast_float.

#include <cstddef>

namespace command {

// "-2.2250738585072014e-308"
constexpr std::size_t longest_number = 24;

// Writes the shortest decimal that reads back the same, and of those the nearest one: fixed from 1e-4 on and below 1e16, with
// an exponent otherwise. Returns its end. There must be room for longest_number characters.
char* write_number(char* to, double value);

// Reads the number at p, as far as it goes, rounded to the nearest double. Returns its end, or null where there is none that
// is finite.
const char* read_number(const char* p, const char* end, double& value);

}  // namespace command
