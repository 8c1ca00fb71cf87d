#include "support/shortage.h"

#include <ZAMXMLData.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__has_feature)
#define TEST_HAS_FEATURE(name) __has_feature(name)
#else
#define TEST_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    TEST_HAS_FEATURE(address_sanitizer) || TEST_HAS_FEATURE(thread_sanitizer)
#define TEST_REPLACES_MALLOC 0
#else
#define TEST_REPLACES_MALLOC 1
#endif

namespace {

thread_local int allocationsToFailure = 0;  ///< 0: none fails
thread_local bool failureLasts = false;
thread_local bool failureHappened = false;
std::atomic<long> liveAllocations = 0;

bool Fails() noexcept {
  if (allocationsToFailure == 0 || (allocationsToFailure > 1 && --allocationsToFailure > 0)) {
    return false;
  }
  allocationsToFailure = failureLasts ? 1 : 0;
  failureHappened = true;
  errno = ENOMEM;
  return true;
}

void* Counted(void* memory) noexcept {
  liveAllocations += memory != nullptr ? 1 : 0;
  return memory;
}

}  // namespace

// The program's own definitions come before those of the C and C++ libraries, for every library in
// the program.
#if TEST_REPLACES_MALLOC
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) noexcept { return Fails() ? nullptr : Counted(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) noexcept {
  return Fails() ? nullptr : Counted(__libc_calloc(count, size));
}

void* realloc(void* memory, std::size_t size) noexcept {
  if (size != 0 && Fails()) {
    return nullptr;
  }
  void* moved = __libc_realloc(memory, size);
  if (memory == nullptr) {
    return Counted(moved);
  }
  liveAllocations -= size == 0 ? 1 : 0;
  return moved;
}

void free(void* memory) noexcept {
  liveAllocations -= memory != nullptr ? 1 : 0;
  __libc_free(memory);
}

}  // extern "C"
#endif

namespace {

void* Allocate(std::size_t size) noexcept {
#if TEST_REPLACES_MALLOC
  return std::malloc(size > 0 ? size : 1);
#else
  return Fails() ? nullptr : Counted(std::malloc(size > 0 ? size : 1));
#endif
}

void* AllocateOrThrow(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void Release(void* memory) noexcept {
#if !TEST_REPLACES_MALLOC
  liveAllocations -= memory != nullptr ? 1 : 0;
#endif
  std::free(memory);
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
namespace {

/// How many more allocations are alive after the scenario than before.
long Leaked(const std::function<void(Shortage&)>& scenario, Shortage& shortage) {
  const long before = liveAllocations;
  scenario(shortage);
  return liveAllocations - before;
}

}  // namespace

int Shortage::During(const std::function<int()>& step) {
  failureLasts = m_Lasting;
  failureHappened = false;
  int result = 0;
  int error = E_OUTOFMEMORY;
  try {
    struct Armed {
      explicit Armed(int number) { allocationsToFailure = number; }
      ~Armed() { allocationsToFailure = 0; }
    } const armed(m_Number);
    result = step();
  } catch (const std::bad_alloc&) {
  } catch (const _com_error& thrown) {
    error = thrown.Error();
  }
  m_Happened = failureHappened;
  EXPECT_EQ(error, E_OUTOFMEMORY);
  return result;
}

void ForEachShortage(const std::function<void(Shortage&)>& scenario) {
  for (const bool lasting : {false, true}) {
    bool happened = true;
    for (int number = 0; happened && !testing::Test::HasFailure(); ++number) {
      SCOPED_TRACE(testing::Message()
                   << "allocation " << number << (lasting ? " and all later" : ""));
      Shortage shortage(number, lasting);
      // What is made once and kept is no leak: it does not grow when the run is repeated.
      if (Leaked(scenario, shortage) != 0 && !testing::Test::HasFailure()) {
        EXPECT_EQ(Leaked(scenario, shortage), 0) << "allocations not released";
      }
      happened = shortage.Happened() || number == 0;
    }
  }
}

}  // namespace test
