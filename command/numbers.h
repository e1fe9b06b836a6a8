#pragma once

// Doubles as decimals.

#include <cstddef>

namespace command {

// "-2.2250738585072014e-308". What is copied in blocks may reach further, by less than as much again.
constexpr std::size_t longest_number = 24;
constexpr std::size_t room_for_a_number = 2 * longest_number;

// Writes the shortest decimal that reads back the same, and of those the nearest one: fixed from 1e-4 on and below 1e16, with
// an exponent otherwise. Returns its end. There must be room_for_a_number.
char* write_number(char* to, double value);

// Reads the number at p, as far as it goes: rounded to the nearest double, as are all. Returns its end, or null where there
// is none that is finite. The text must end with a line end, and readable_behind bytes after it be readable.
const char* read_number(const char* p, const char* end, double& value);
constexpr std::size_t readable_behind = 8;

}  // namespace command
