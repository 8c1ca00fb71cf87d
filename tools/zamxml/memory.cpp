#include "memory.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <new>

#include "failure.h"
#include "output.h"

namespace {

thread_local bool ranShort = false;
void (*lastActBeforeEnd)() noexcept = nullptr;

[[noreturn]] void OnFailingNew() {
  ranShort = true;
  throw std::bad_alloc();
}

/// Destructors of JSON need memory: what they throw arrives here.
[[noreturn]] void OnTerminate() {
  if (!ranShort) {
    std::abort();
  }
  lastActBeforeEnd();
  ReportShortage();
  ::_exit(ExitFailed);
}

}  // namespace

void WatchMemory(void (*lastAct)() noexcept) {
  lastActBeforeEnd = lastAct;
  std::set_new_handler(OnFailingNew);
  std::set_terminate(OnTerminate);
}

bool RanShort() noexcept { return ranShort; }
void ForgetShortage() noexcept { ranShort = false; }

bool IsShortage(const std::exception& error) noexcept {
  const auto* platformError = dynamic_cast<const _com_error*>(&error);
  return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ||
         (platformError != nullptr && platformError->Error() == E_OUTOFMEMORY);
}

void RequireMemory() {
  if (ranShort) {
    throw std::bad_alloc();
  }
}

void RequireMemory(const ZAMXml& tree) {
  RequireMemory();
  if (tree.RanOutOfMemory() != 0) {
    throw std::bad_alloc();
  }
}

void ReportShortage() noexcept { WriteError({"not enough memory"}); }
