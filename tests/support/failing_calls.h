#pragma once

#include <functional>

namespace test {

/// System calls of this program, the library's among them, that can be made to fail.
enum class Call { Open, Write, Fsync, Fchmod, Rename, Close };

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

/// Runs a step in a process of a user without rights to other users' files, member of one more
/// group when that is not 0, and gives its result; -1 when it came to no result.
int Unprivileged(const std::function<int()>& step, unsigned int group = 0);

}  // namespace test
