#pragma once

// The bytes of a file or of standard input, in blocks. Files are read rather than mapped: memory stays flat, pipes go the
// same way, and a file that is cut while it is read is an error and not a signal.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace command {

class byte_source {
 public:
  // "-" is standard input.
  explicit byte_source(const std::string& path);
  byte_source(const byte_source&) = delete;
  byte_source& operator=(const byte_source&) = delete;
  ~byte_source();

  // How messages call it.
  const std::string& name() const { return name_; }
  // Of a regular file; 0 of anything else.
  std::uint64_t size() const { return size_; }
  bool is_file() const { return is_file_; }
  // Taken out so far.
  std::uint64_t done() const { return done_; }

  // The next bytes, at most so many, which stay to be read.
  std::string_view peek(std::size_t count);
  // Goes on from there. Of a regular file.
  void seek(std::uint64_t place);
  // Fills as much of the room as there is to be had; less only at the end.
  std::size_t read(char* to, std::size_t room);

 private:
  std::size_t read_now(char* to, std::size_t room);

  std::string name_;
  int descriptor_;
  std::uint64_t size_ = 0;
  std::uint64_t done_ = 0;
  bool is_file_ = false;
  std::string ahead_;
};

}  // namespace command
