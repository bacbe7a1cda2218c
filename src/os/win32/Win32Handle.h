// Owner of a kernel handle.
#pragma once

#include <utility>

namespace ovs {

// Closes its handle once. Null and the system's INVALID_HANDLE_VALUE both mean: empty. An empty owner calls nothing, so the
// last-error value of the call that made it survives.
class Handle {
 public:
  Handle() noexcept = default;
  explicit Handle(void* handle) noexcept;
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept;
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }

  [[nodiscard]] void* Get() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != nullptr; }
  void Close() noexcept;

 private:
  void* handle_ = nullptr;
};

}  // namespace ovs
