#include "zamxml/platform/lock.h"

#include <chrono>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "platform/codes.h"
#include "platform/system.h"
#include "zamxml/platform/error.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto Pause = std::chrono::milliseconds(5);

}  // namespace

class ZAMFileLock::Holding : public zam::LockFile {};

ZAMFileLock::ZAMFileLock(const _bstr_t& path) : m_Path(path) {}
ZAMFileLock::~ZAMFileLock() = default;

int ZAMFileLock::Lock(double wait, ZAMLog* log) {
  if (IsLocked() != 0) {
    return 1;
  }
  try {
    std::string reason;
    const auto name = zam::LockFileName(m_Path.utf8(), reason);
    auto holding = std::make_unique<Holding>();
    auto attempt = zam::LockFile::Attempt::Failed;
    const auto start = Clock::now();
    while (name) {
      attempt = holding->Take(*name, zam::LockFile::For::Everyone, reason);
      const std::chrono::duration<double> waited = Clock::now() - start;
      // A wait that is no number compares as false: no wait.
      if (attempt != zam::LockFile::Attempt::Busy || !(waited.count() < wait)) {
        break;
      }
      std::this_thread::sleep_for(Pause);
    }
    if (attempt == zam::LockFile::Attempt::Held) {
      m_pHolding = std::move(holding);
    } else {
      zam::RecordFileError(log, zam::CodeNotLocked, zam::FileDetail(m_Path, reason));
    }
  } catch (const std::bad_alloc&) {
    throw _com_error(E_OUTOFMEMORY);
  }
  return IsLocked();
}

void ZAMFileLock::Unlock() { m_pHolding.reset(); }

int ZAMFileLock::IsLocked() const noexcept { return m_pHolding != nullptr ? 1 : 0; }
