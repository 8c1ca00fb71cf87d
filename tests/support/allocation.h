#pragma once

namespace test {

/// Lets allocations of this thread fail: the n-th from now, counted from 1, and as many as wanted
/// in all. The program's operator new is replaced for that. None fails after the object's end.
class FailingAllocation {
public:
  explicit FailingAllocation(int number, int count = 1);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Whether any has failed yet.
  bool Happened() const;
};

/// The number of allocations that are not released.
long LiveAllocations();

}  // namespace test
