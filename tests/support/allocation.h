#pragma once

namespace test {

/// Lets one allocation of this thread fail: the n-th from now, counted from 1. The program's
/// operator new is replaced for that. None fails any more after the object's end.
class FailingAllocation {
public:
  explicit FailingAllocation(int number);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Whether it has failed yet.
  bool Happened() const;
};

/// The number of allocations that are not released.
long LiveAllocations();

}  // namespace test
