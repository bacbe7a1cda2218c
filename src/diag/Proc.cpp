#include "diag/Proc.h"

#include <limits>

#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/App_Debug.h"
#include "diag/PendingError.h"
#include "diag/ProcTrace.h"

namespace ovs {

namespace {

constexpr TextView kSeparator = u"<sep>";
constexpr std::size_t kLongestValue = 16384;

thread_local Proc* innermost = nullptr;

}  // namespace

void RenderValue(TextView value, Text& out) {
  out.append(value.substr(0, kLongestValue));
  if (value.size() > kLongestValue) out += u"...";
}

void RenderValue(bool value, Text& out) { out += value ? TextView(u"True") : TextView(u"False"); }

void RenderValue(std::int64_t value, Text& out) { out += NumberText(value); }

// NumberText takes signed numbers: of a number beyond them, all digits but the last are one that it takes.
void RenderValue(std::uint64_t value, Text& out) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  if (value > kMost) RenderValue(value / 10, out);
  out += NumberText(static_cast<std::int64_t>(value > kMost ? value % 10 : value));
}

// The limit is looked at behind each item, so a long list ends with a whole one.
void RenderValue(const std::vector<Text>& value, Text& out) {
  const std::size_t start = out.size();
  for (const Text& item : value) {
    if (&item != &value.front()) out += kSeparator;
    RenderValue(TextView(item), out);
    if (out.size() - start > kLongestValue) break;
  }
}

Proc::Proc(TextView module, TextView procedure, ProcKind kind) noexcept
    : owner_(&Diagnostics()),
      trace_(owner_->trace_),
      module_(module),
      procedure_(procedure),
      kind_(kind),
      outer_(innermost) {
  trace_->Enter(*this);
  innermost = this;
}

Proc::~Proc() {
  innermost = outer_;
  trace_->Leave(*this);
}

Proc* Proc::Innermost() noexcept { return innermost; }

Proc* Proc::Find(const ProcTrace& trace, ProcId id) noexcept {
  for (Proc* guard = innermost; guard != nullptr; guard = guard->outer_) {
    if (guard->id_ == id && guard->trace_ == &trace) return guard;
  }
  return nullptr;
}

// A value that is created or returned by reference has its final form only when Run ends, so the record waits for it. One
// that finds no room among the kept values cannot wait: the record gets it as it is now.
void Proc::AddVar(VarKind kind, TextView name, const void* value, detail::RenderFunction render) noexcept {
  const bool waits = !finished_ && (kind == VarKind::Created || kind == VarKind::ReturnedByRef);
  const bool kept = varCount_ < kMaxVars;
  if (kept) vars_[varCount_++] = {kind, name, value, render};
  if (record_ == nullptr || (waits && kept)) return;
  AddToRecord({kind, name, value, render});
}

void Proc::AddToRecord(const Var& var) noexcept {
  try {
    Text text(var.name);
    text += u'=';
    var.render(var.value, text);
    trace_->AddVariable(*record_, var.kind, text);
  } catch (...) {
    return;  // without memory the record lacks this value
  }
}

void Proc::ReportResult(const void* value, detail::RenderFunction render) noexcept {
  if (record_ == nullptr) return;
  FinishVars();
  AddToRecord({VarKind::FunctionResult, procedure_, value, render});
}

void Proc::FinishVars() noexcept {
  if (finished_) return;
  finished_ = true;
  for (std::size_t i = 0; i < varCount_; ++i) {
    const VarKind kind = vars_[i].kind;
    if (kind == VarKind::Created || kind == VarKind::ReturnedByRef) AddToRecord(vars_[i]);
  }
}

Text Proc::RenderVars(VarKind kind) const {
  Text list;
  for (std::size_t i = 0; i < varCount_; ++i) {
    if (vars_[i].kind != kind) continue;
    if (!list.empty()) list += kSeparator;
    list.append(vars_[i].name).append(u"=");
    vars_[i].render(vars_[i].value, list);
  }
  return list;
}

Proc& Proc::Fail(os::Error error) noexcept {
  FailPending(error);
  return *this;
}

void Proc::Log(TextView message, EventType type, TextView variables, TextView expectedVBErrors,
               TextView expectedAPIErrors) noexcept {
  owner_->dLog(id_, message, type, variables, expectedVBErrors, expectedAPIErrors);
}

void Proc::HandleError() noexcept {
  SetPendingRuntimeErrorFromException();
  owner_->dLogErrorHandler(id_);
}

}  // namespace ovs
