#include "output.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "errors.h"

namespace command {

namespace {

// The file that is being written, for handlers of signals; one at a time. The flag is set while the name is whole.
char unfinished[PATH_MAX + 16];
std::atomic<bool> is_unfinished = false;
static_assert(std::atomic<bool>::is_always_lock_free, "handlers of signals may use it");

extern "C" void remove_and_end(int signal) {
  if (is_unfinished) ::unlink(unfinished);
  std::signal(signal, SIG_DFL);
  ::raise(signal);
}

// Symbolic links stay: what they point to is replaced.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  return real == nullptr ? path : std::string(real.get());
}

}  // namespace

void remove_unfinished_on_signals() {
  std::signal(SIGPIPE, SIG_IGN);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (std::signal(signal, remove_and_end) == SIG_IGN) std::signal(signal, SIG_IGN);
}

output::output(const std::string& path) : path_(path == "-" ? "standard output" : resolved(path)) {
  if (path == "-") return;
  struct stat facts {};
  const bool exists = ::stat(path_.c_str(), &facts) == 0;
  if (exists && !S_ISREG(facts.st_mode)) {
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail();
    return;
  }
  std::string name = path_ + ".part-XXXXXX";
  if (name.size() >= sizeof unfinished) throw data_error(path_ + ": the name is too long");
  const ::mode_t mask = ::umask(0);
  ::umask(mask);
  sigset_t ends;
  sigset_t before;
  sigfillset(&ends);
  sigprocmask(SIG_BLOCK, &ends, &before);
  descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
  const int error = errno;
  if (descriptor_ >= 0) {
    std::strcpy(unfinished, name.c_str());
    is_unfinished = true;
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  if (descriptor_ < 0) {
    errno = error;
    fail();
  }
  temporary_ = name;
  static_cast<void>(::fchmod(descriptor_, exists ? facts.st_mode & 07777 : 0666 & ~mask));
}

output::~output() {
  if (descriptor_ > 1) ::close(descriptor_);
  if (!temporary_.empty()) {
    is_unfinished = false;
    ::unlink(temporary_.c_str());
  }
}

void output::fail() const {
  if (errno == EPIPE) throw closed_pipe();
  throw data_error(path_ + ": " + std::strerror(errno));
}

void output::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ::ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count >= 0)
      bytes.remove_prefix(static_cast<std::size_t>(count));
    else if (errno != EINTR)
      fail();
  }
}

void output::rewrite_start(std::string_view bytes) {
  if (::pwrite(descriptor_, bytes.data(), bytes.size(), 0) != static_cast<::ssize_t>(bytes.size())) fail();
}

void output::commit() {
  const int descriptor = descriptor_;
  descriptor_ = 1;
  if (descriptor > 1 && ::close(descriptor) != 0) fail();
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
  is_unfinished = false;
  temporary_.clear();
}

}  // namespace command
