// The guard that every traced procedure opens: its constructor is ProcNew, its destructor ProcExit.
//
//   bool App_FileSystem::FileDelete(TextView sFile) {
//     Proc proc(u"App_FileSystem", u"FileDelete", ProcKind::Function);
//     proc.ByVal(u"sFile", sFile);
//     return proc.Run(false, [&] { ... });
//   }
//
// Run is the procedure-wide error handler: whatever leaves the body as an exception is reported through dLog as
// "ErrorHandler" with the guard's values, and the neutral result is returned. No error crosses Run.
//
// Values are passed by reference and rendered only when somebody reads them (an error entry, or the procedure dump is
// on). A value must therefore outlive the guard's Run: name parameters, and locals declared before the body. A guard
// whose record nobody reads allocates nothing. Values passed in are rendered when they are reported, values created or
// returned by reference when Run ends; each at most 16,384 characters long. Only ten values of a guard are kept for error
// entries. Module and procedure names must be literals. Guards nest strictly (they are locals), on any thread; each thread's
// guards are its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "diag/Events.h"
#include "os/Error.h"

namespace ovs {

class App_Debug;
class App_Proc;
class ProcTrace;

// The form of values in traces: numbers in decimal, "True" or "False", texts as they are, lists joined with "<sep>".
void RenderValue(TextView value, Text& out);
void RenderValue(bool value, Text& out);
void RenderValue(std::int64_t value, Text& out);
void RenderValue(std::uint64_t value, Text& out);
void RenderValue(const std::vector<Text>& value, Text& out);

namespace detail {
using RenderFunction = void (*)(const void* value, Text& out);

template <class T>
void RenderErased(const void* value, Text& out) {
  const T& typed = *static_cast<const T*>(value);
  constexpr bool kIsNumber = (std::is_integral_v<T> && !std::is_same_v<T, bool>) || std::is_enum_v<T>;
  if constexpr (!kIsNumber) {
    RenderValue(typed, out);
  } else if constexpr (std::is_enum_v<T> || std::is_signed_v<T>) {
    RenderValue(static_cast<std::int64_t>(typed), out);
  } else {
    RenderValue(static_cast<std::uint64_t>(typed), out);
  }
}
}  // namespace detail

class Proc {
 public:
  Proc(TextView module, TextView procedure, ProcKind kind) noexcept;
  ~Proc();
  Proc(const Proc&) = delete;
  Proc& operator=(const Proc&) = delete;

  [[nodiscard]] ProcId Id() const noexcept { return id_; }

  // Values by kind; each becomes "name=value". References, see above.
  template <class T>
  void ByVal(TextView name, const T& value) noexcept {
    AddVar(VarKind::PassedByVal, name, &value, &detail::RenderErased<T>);
  }
  template <class T>
  void ByRef(TextView name, const T& value) noexcept {
    AddVar(VarKind::PassedByRef, name, &value, &detail::RenderErased<T>);
  }
  template <class T>
  void Created(TextView name, const T& value) noexcept {
    AddVar(VarKind::Created, name, &value, &detail::RenderErased<T>);
  }
  template <class T>
  void ReturnedByRef(TextView name, const T& value) noexcept {
    AddVar(VarKind::ReturnedByRef, name, &value, &detail::RenderErased<T>);
  }
  template <class T>
  void ByVal(TextView name, const T&& value) = delete;
  template <class T>
  void ByRef(TextView name, const T&& value) = delete;
  template <class T>
  void Created(TextView name, const T&& value) = delete;
  template <class T>
  void ReturnedByRef(TextView name, const T&& value) = delete;

  // A port call of this procedure failed: its error waits for the next note, which tells of it. A success changes nothing.
  Proc& Fail(os::Error error) noexcept;
  // A note of this procedure, see App_Debug::dLog.
  void Log(TextView message, EventType type = EventType::Normal, TextView variables = {}, TextView expectedVBErrors = {},
           TextView expectedAPIErrors = {}) noexcept;

  // Runs the body under the procedure-wide handler; the result (or the neutral one) is reported as the function result.
  template <class R, class F>
  R Run(R neutral, F&& body) noexcept {
    try {
      R result = std::forward<F>(body)();
      ReportResult(&result, &detail::RenderErased<R>);
      return result;
    } catch (...) {
      HandleError();
    }
    ReportResult(&neutral, &detail::RenderErased<R>);
    return neutral;
  }

  // The same for a procedure without result, or one that keeps its result in a local ("the result reached so far").
  template <class F>
  void Run(F&& body) noexcept {
    try {
      std::forward<F>(body)();
    } catch (...) {
      HandleError();
    }
    if (record_ != nullptr) FinishVars();
  }

  // Reports a function result that Run did not see.
  template <class T>
  void Result(const T& value) noexcept {
    ReportResult(&value, &detail::RenderErased<T>);
  }

 private:
  friend class ProcTrace;
  struct Var {
    VarKind kind;
    TextView name;
    const void* value;
    detail::RenderFunction render;
  };
  static constexpr std::size_t kMaxVars = 10;

  [[nodiscard]] static Proc* Innermost() noexcept;
  // This thread's live guard of that ID, or null.
  [[nodiscard]] static Proc* Find(const ProcTrace& trace, ProcId id) noexcept;
  void AddVar(VarKind kind, TextView name, const void* value, detail::RenderFunction render) noexcept;
  void AddToRecord(const Var& var) noexcept;
  void ReportResult(const void* value, detail::RenderFunction render) noexcept;
  // Gives the record the values that were waiting for the end of Run.
  void FinishVars() noexcept;
  // "name=value" of each value of one kind, joined with "<sep>".
  [[nodiscard]] Text RenderVars(VarKind kind) const;
  // Inside a catch block: reports the exception in flight and swallows it.
  void HandleError() noexcept;

  App_Debug* owner_;
  ProcTrace* trace_;  // the owner's
  TextView module_;
  TextView procedure_;
  ProcKind kind_;
  bool finished_ = false;  // Run has ended
  ProcId id_ = kNoProc;
  Proc* outer_ = nullptr;       // the guard that was innermost before this one
  App_Proc* record_ = nullptr;  // the trace's, null while none is kept
  Var vars_[kMaxVars];
  std::size_t varCount_ = 0;
  std::uint32_t eventCount_ = 1;  // its entry is the first
  std::uint32_t enterEvent_ = 0;  // global number of its entry
};

}  // namespace ovs
