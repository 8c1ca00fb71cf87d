#include "support/failing_calls.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr unsigned int Nobody = 65534;

thread_local test::Call failingCall = test::Call::Open;
thread_local int callsToFailure = 0;
thread_local int failureError = 0;

bool Fails(test::Call call) noexcept {
  if (call != failingCall || callsToFailure == 0 || --callsToFailure != 0) {
    return false;
  }
  errno = failureError;
  return true;
}

}  // namespace

// The program's own definitions come before those of the C library, for the library under test too.
extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
  va_end(arguments);
  return Fails(test::Call::Open)
             ? -1
             : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  if (Fails(test::Call::Write)) {
    return failureError != 0 ? -1 : syscall(SYS_write, descriptor, bytes, size_t{1});
  }
  return syscall(SYS_write, descriptor, bytes, size);
}

int fsync(int descriptor) {
  return Fails(test::Call::Fsync) ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

int fchmod(int descriptor, mode_t mode) noexcept {
  return Fails(test::Call::Fchmod) ? -1 : static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
}

int rename(const char* from, const char* to) noexcept {
  return Fails(test::Call::Rename) ? -1 : static_cast<int>(syscall(SYS_rename, from, to));
}

int close(int descriptor) {
  const int error = static_cast<int>(syscall(SYS_close, descriptor));
  return Fails(test::Call::Close) ? -1 : error;
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
