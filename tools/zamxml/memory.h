#pragma once

#include <ZAMXMLData.h>

#include <exception>

/// Memory that runs short, watched for the whole program: much of what a verb uses goes on without
/// what it could not allocate, and its result is then another. So a verb asks before it prints or
/// saves, and fails instead.

/// Begins to watch. From then on a failure that nothing can catch ends the program with its message
/// and ExitFailed, after that last act.
void WatchMemory(void (*lastAct)() noexcept);

/// Whether an allocation of this thread has failed since its beginning, or since ForgetShortage.
bool RanShort() noexcept;
void ForgetShortage() noexcept;

/// Whether an exception means that memory has run short.
bool IsShortage(const std::exception& error) noexcept;

/// std::bad_alloc when one has; or when a step on that tree ran short.
void RequireMemory();
void RequireMemory(const ZAMXml& tree);

/// Says it on the standard error.
void ReportShortage() noexcept;
