#pragma once

#include <functional>

namespace test {

/// System calls of this program, the library's among them, that are watched and can be made to
/// fail.
enum class Call {
  Open,
  Write,
  WriteAt,
  Truncate,
  Fsync,
  Fchmod,
  SetAttribute,
  Flock,
  Link,
  Rename,
  Unlink,
  Close
};

/// Lets one such call of this thread fail with that errno: the n-th from now, counted from 1. A
/// write with errno 0 writes one byte only. None fails any more after the object's end.
class FailingCall {
public:
  FailingCall(Call call, int number, int error);
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;
  ~FailingCall();

  /// Whether it has failed yet.
  bool Happened() const;
};

/// Takes a step right before each such call of this thread, but not before those of the step
/// itself. One at a time.
class BeforeEachCall {
public:
  explicit BeforeEachCall(std::function<void(Call)> step);
  BeforeEachCall(const BeforeEachCall&) = delete;
  BeforeEachCall& operator=(const BeforeEachCall&) = delete;
  ~BeforeEachCall();

private:
  std::function<void(Call)> m_Step;
};

/// Runs the step in processes of their own, one after the other: the first is killed right before
/// its first system call of these, the second before its second, and so on until one comes to its
/// end. Calls `killed` after each that was killed, and gives their number.
int ForEachKill(const std::function<void()>& step, const std::function<void()>& killed);

/// Runs a step in a process of a user without rights to other users' files, member of one more
/// group when that is not 0, and gives its result; -1 when it came to no result.
int Unprivileged(const std::function<int()>& step, unsigned int group = 0);

}  // namespace test
