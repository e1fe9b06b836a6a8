#pragma once

// Where results go. A file appears under its name when it is whole, and not before: it is written beside, and renamed at
// the end. What is no regular file (a pipe, a device) is written to directly.

#include <string>
#include <string_view>

namespace command {

class output {
 public:
  // "-" is standard output.
  explicit output(const std::string& path);
  output(const output&) = delete;
  output& operator=(const output&) = delete;
  // What was not committed is removed.
  ~output();

  void write(std::string_view bytes);
  // Replaces the first bytes, where can_rewrite().
  bool can_rewrite() const { return !temporary_.empty(); }
  void rewrite_start(std::string_view bytes);
  void commit();

  // For a program that writes the file by itself.
  const std::string& path_to_write() const { return temporary_.empty() ? path_ : temporary_; }

 private:
  [[noreturn]] void fail() const;

  std::string path_;
  std::string temporary_;  // empty where writing is direct
  int descriptor_ = 1;
};

// Signals that end the program remove the file that is being written.
void remove_unfinished_on_signals();

}  // namespace command
