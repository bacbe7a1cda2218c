#include "base/RuntimeError.h"

#include <new>
#include <utility>

#include "base/Encoding.h"

namespace ovs {

namespace {

// The number is apart from the texts: looking at it must cost nothing, and the texts are made at the first error only.
thread_local int pendingNumber = 0;

PendingRuntimeError& Pending() noexcept {
  thread_local PendingRuntimeError pending;
  return pending;
}

}  // namespace

void SetPendingRuntimeError(int number, TextView description, TextView source) noexcept {
  PendingRuntimeError& pending = Pending();
  pendingNumber = pending.number = number;
  pending.description.clear();
  pending.source.clear();
  try {
    pending.description = description;
    pending.source = source;
  } catch (const std::exception&) {
    pending.description.clear();
  }
}

// The exception is thrown again to learn its type; kinds are told apart in this one place.
void SetPendingRuntimeErrorFromException() noexcept {
  using namespace RuntimeErrorNumber;
  try {
    throw;
  } catch (const RuntimeError& error) {
    SetPendingRuntimeError(error.Number(), error.Description(), error.Source());
  } catch (const std::bad_alloc&) {
    SetPendingRuntimeError(kOutOfMemory, u"Out of memory", kProjectName);
  } catch (const std::exception& error) {
    try {
      SetPendingRuntimeError(kInternal, FromUtf8(error.what()), kProjectName);
    } catch (...) {
      SetPendingRuntimeError(kInternal, {}, kProjectName);
    }
  } catch (...) {
    SetPendingRuntimeError(kInternal, u"Unknown error", kProjectName);
  }
}

int PendingRuntimeErrorNumber() noexcept { return pendingNumber; }

PendingRuntimeError TakePendingRuntimeError() noexcept {
  if (pendingNumber == 0) return {};
  PendingRuntimeError taken = std::move(Pending());
  Pending().number = pendingNumber = 0;
  return taken;
}

}  // namespace ovs
