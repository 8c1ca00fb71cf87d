#include "support/failing_calls.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

constexpr unsigned int Nobody = 65534;

thread_local test::Call failingCall = test::Call::Open;
thread_local int callsToFailure = 0;
thread_local int failureError = 0;

thread_local std::function<void(test::Call)>* beforeCall = nullptr;

bool Fails(test::Call call) {
  const bool fails = call == failingCall && callsToFailure != 0 && --callsToFailure == 0;
  if (auto* const step = std::exchange(beforeCall, nullptr)) {
    (*step)(call);
    beforeCall = step;
  }
  if (fails) {
    errno = failureError;
  }
  return fails;
}

template <class... Arguments>
int Unless(test::Call call, long number, Arguments... arguments) {
  return Fails(call) ? -1 : static_cast<int>(syscall(number, arguments...));
}

}  // namespace

// The program's own definitions come before those of the C library, for the library under test too.
extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
  va_end(arguments);
  return Unless(test::Call::Open, SYS_openat, AT_FDCWD, path, flags, mode);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  if (Fails(test::Call::Write)) {
    return failureError != 0 ? -1 : syscall(SYS_write, descriptor, bytes, size_t{1});
  }
  return syscall(SYS_write, descriptor, bytes, size);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
  return Unless(test::Call::WriteAt, SYS_pwrite64, descriptor, bytes, size, offset);
}

int ftruncate(int descriptor, off_t size) noexcept {
  return Unless(test::Call::Truncate, SYS_ftruncate, descriptor, size);
}

int fsync(int descriptor) { return Unless(test::Call::Fsync, SYS_fsync, descriptor); }

int fchmod(int descriptor, mode_t mode) noexcept {
  return Unless(test::Call::Fchmod, SYS_fchmod, descriptor, mode);
}

int fsetxattr(int descriptor, const char* name, const void* value, size_t size,
              int flags) noexcept {
  return Unless(test::Call::SetAttribute, SYS_fsetxattr, descriptor, name, value, size, flags);
}

int flock(int descriptor, int operation) noexcept {
  return Unless(test::Call::Flock, SYS_flock, descriptor, operation);
}

int link(const char* from, const char* to) noexcept {
  return Unless(test::Call::Link, SYS_link, from, to);
}

int rename(const char* from, const char* to) noexcept {
  return Unless(test::Call::Rename, SYS_rename, from, to);
}

int unlink(const char* path) noexcept { return Unless(test::Call::Unlink, SYS_unlink, path); }

int close(int descriptor) {
  const bool fails = Fails(test::Call::Close);
  const int error = failureError;
  const int closed = static_cast<int>(syscall(SYS_close, descriptor));
  if (fails) {
    errno = error;
  }
  return fails ? -1 : closed;
}

}  // extern "C"

namespace test {

FailingCall::FailingCall(Call call, int number, int error) {
  failingCall = call;
  failureError = error;
  callsToFailure = number;
}
FailingCall::~FailingCall() { callsToFailure = 0; }
bool FailingCall::Happened() const { return callsToFailure == 0; }

BeforeEachCall::BeforeEachCall(std::function<void(Call)> step) : m_Step(std::move(step)) {
  beforeCall = &m_Step;
}
BeforeEachCall::~BeforeEachCall() { beforeCall = nullptr; }

int ForEachKill(const std::function<void()>& step, const std::function<void()>& killed) {
  for (int number = 1;; ++number) {
    const pid_t child = fork();
    if (child == 0) {
      int left = number;
      const BeforeEachCall kills([&left](Call) {
        if (--left == 0) {
          raise(SIGKILL);
        }
      });
      step();
      _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || WIFEXITED(status)) {
      return number - 1;
    }
    killed();
  }
}

int Unprivileged(const std::function<int()>& step, unsigned int group) {
  const pid_t child = fork();
  if (child == 0) {
    const gid_t groups[] = {group};
    if (geteuid() == 0 && (setgroups(group != 0 ? 1 : 0, groups) != 0 || setgid(Nobody) != 0 ||
                           setuid(Nobody) != 0)) {
      _exit(255);
    }
    _exit(step());
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
      WEXITSTATUS(status) == 255) {
    return -1;
  }
  return WEXITSTATUS(status);
}

}  // namespace test
