#pragma once

// How a run of the command fails. What is thrown here ends in main, which prints the text and picks the exit code.

#include <stdexcept>

namespace command {

// The arguments do not say what to do: exit code 2.
struct use_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A file cannot be read or written, or holds what cannot be worked with: exit code 1.
struct data_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Nobody reads the output any more. The program ends as others in a pipe do, without a word.
struct closed_pipe {};

}  // namespace command
