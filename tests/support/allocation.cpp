#include "support/allocation.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local int allocationsToFailure = 0;
thread_local int failuresLeft = 0;
std::atomic<long> liveAllocations = 0;

void* Allocate(std::size_t size) noexcept {
  if (failuresLeft > 0 && (allocationsToFailure == 0 || --allocationsToFailure == 0)) {
    --failuresLeft;
    return nullptr;
  }
  void* memory = std::malloc(size > 0 ? size : 1);
  if (memory != nullptr) {
    ++liveAllocations;
  }
  return memory;
}

void* AllocateOrThrow(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void Release(void* memory) noexcept {
  if (memory != nullptr) {
    --liveAllocations;
    std::free(memory);
  }
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Release(memory); }

namespace test {

FailingAllocation::FailingAllocation(int number, int count) {
  allocationsToFailure = number;
  failuresLeft = count;
}

FailingAllocation::~FailingAllocation() { failuresLeft = 0; }

bool FailingAllocation::Happened() const { return allocationsToFailure == 0; }

long LiveAllocations() { return liveAllocations; }

}  // namespace test
