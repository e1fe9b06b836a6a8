#include "byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "errors.h"

namespace command {

byte_source::byte_source(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      descriptor_(path == "-" ? 0 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (descriptor_ < 0) throw data_error(name_ + ": " + std::strerror(errno));
  struct stat facts {};
  if (::fstat(descriptor_, &facts) == 0 && S_ISREG(facts.st_mode)) {
    is_file_ = path != "-";
    size_ = static_cast<std::uint64_t>(facts.st_size);
    ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
}

byte_source::~byte_source() {
  if (descriptor_ > 0) ::close(descriptor_);
}

std::string_view byte_source::peek(std::size_t count) {
  const std::size_t have = ahead_.size();
  if (have < count) {
    ahead_.resize(count);
    ahead_.resize(have + read_now(ahead_.data() + have, count - have));
  }
  return std::string_view(ahead_).substr(0, count);
}

void byte_source::seek(std::uint64_t place) {
  if (::lseek(descriptor_, static_cast<::off_t>(place), SEEK_SET) < 0)
    throw data_error(name_ + ": " + std::strerror(errno));
  ahead_.clear();
  done_ = place;
}

std::size_t byte_source::read(char* to, std::size_t room) {
  const std::size_t kept = std::min(room, ahead_.size());
  std::copy_n(ahead_.data(), kept, to);
  ahead_.erase(0, kept);
  const std::size_t count = kept + read_now(to + kept, room - kept);
  done_ += count;
  return count;
}

std::size_t byte_source::read_now(char* to, std::size_t room) {
  std::size_t count = 0;
  while (count < room) {
    const ::ssize_t got = ::read(descriptor_, to + count, room - count);
    if (got == 0) break;
    if (got > 0)
      count += static_cast<std::size_t>(got);
    else if (errno != EINTR)
      throw data_error(name_ + ": " + std::strerror(errno));
  }
  return count;
}

}  // namespace command
