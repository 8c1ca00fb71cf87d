// Loaded before the tool (LD_PRELOAD), lets an allocation fail: the one with the number in FAIL_AT,
// counted from 1 when main begins, and with FAIL_EVER every later one too. Every failure writes a
// byte to descriptor 9.

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace {

using Main = int (*)(int, char**, char**);
using StartMain = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);

std::atomic<long> left{0};  ///< allocations to the one that fails; 0: none fails
bool ever = false;
Main mainOfProgram = nullptr;

bool Fails() noexcept {
  if (left == 0 || left-- > 1) {
    return false;
  }
  left = ever ? 1 : 0;
  (void)!::write(9, "x", 1);
  errno = ENOMEM;
  return true;
}

int MainThatCounts(int count, char** arguments, char** environment) {
  ever = std::getenv("FAIL_EVER") != nullptr;
  left = std::atol(std::getenv("FAIL_AT"));
  const int code = mainOfProgram(count, arguments, environment);
  left = 0;
  return code;
}

}  // namespace

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) noexcept { return Fails() ? nullptr : __libc_malloc(size); }

void* calloc(size_t count, size_t size) noexcept {
  return Fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept {
  return Fails() ? nullptr : __libc_realloc(memory, size);
}

int __libc_start_main(Main program, int count, char** arguments, void (*start)(), void (*end)(),
                      void (*loader)(), void* stack) {
  mainOfProgram = program;
  const auto next = reinterpret_cast<StartMain>(::dlsym(RTLD_NEXT, "__libc_start_main"));
  return next(MainThatCounts, count, arguments, start, end, loader, stack);
}

}  // extern "C"
