// STAND-IN for tests.
#include "Automation.h"

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Feed.h"
#include "FeedLine.h"
#include "LogQuery.h"
#include "StandinNames.h"
#include "support/win32/CountedObject.h"

namespace ovs::standin {
namespace {

constexpr HRESULT kInvalidQuery = static_cast<HRESULT>(0x80041017);
constexpr HRESULT kNoFeed = static_cast<HRESULT>(0x80041006);
constexpr HRESULT kTimedOut = static_cast<HRESULT>(0x80043001);

std::atomic<long> liveObjects{0};

// What a member answers: success, an error of the call itself (no source), or an error that the client is shown.
struct Answer {
  HRESULT code = S_OK;
  const wchar_t* source = nullptr;
  const wchar_t* description = nullptr;
};

struct Member {
  const wchar_t* name;
  WORD kinds;
};

// Arguments in the order they are written; missing ones are VT_ERROR with DISP_E_PARAMNOTFOUND, as the caller put them.
class Arguments {
 public:
  explicit Arguments(const DISPPARAMS& params) : params_(params) {}
  std::size_t Count() const { return params_.cArgs; }
  bool Has(std::size_t i) const { return i < Count() && !(At(i).vt == VT_ERROR && At(i).scode == DISP_E_PARAMNOTFOUND); }
  // Converts to `type`; the caller clears `out`.
  HRESULT Get(std::size_t i, VARTYPE type, VARIANT& out) const { return VariantChangeType(&out, &At(i), 0, type); }

 private:
  VARIANT& At(std::size_t i) const { return params_.rgvarg[Count() - 1 - i]; }
  const DISPPARAMS& params_;
};

// Name lookup and argument rules common to all objects. DISPIDs are 1, 2, ... in the order of Members().
class AutomationObject : public CountedDispatch {
 public:
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                                   UINT* argument) override;

 protected:
  AutomationObject() { ++liveObjects; }
  ~AutomationObject() override { --liveObjects; }

 private:
  virtual std::span<const Member> Members() const = 0;
  virtual std::size_t MaxArguments() const { return 0; }
  // `result` comes in empty; its content counts on success only.
  virtual Answer Call(std::size_t member, const Arguments& arguments, VARIANT& result) = 0;
};

HRESULT AutomationObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (!names || !ids || count == 0) return E_INVALIDARG;
  std::fill(ids, ids + count, DISPID_UNKNOWN);
  const auto members = Members();
  const auto found = std::find_if(members.begin(), members.end(), [&](const Member& member) {
    return CompareStringOrdinal(member.name, -1, names[0], -1, TRUE) == CSTR_EQUAL;
  });
  if (found == members.end()) return DISP_E_UNKNOWNNAME;
  ids[0] = static_cast<DISPID>(found - members.begin()) + 1;
  // Names beyond the first are those of arguments, and none has one.
  return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT Raise(const Answer& answer, EXCEPINFO* info) {
  if (!answer.source) return answer.code;
  if (info) {
    *info = {};
    info->bstrSource = SysAllocString(answer.source);
    info->bstrDescription = SysAllocString(answer.description);
    info->scode = answer.code;
  }
  return DISP_E_EXCEPTION;
}

HRESULT AutomationObject::Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                                 UINT*) {
  const auto members = Members();
  if (!params) return E_INVALIDARG;
  if (id < 1 || static_cast<std::size_t>(id) > members.size()) return DISP_E_MEMBERNOTFOUND;
  const auto member = static_cast<std::size_t>(id - 1);
  if ((kind & members[member].kinds) == 0) return DISP_E_MEMBERNOTFOUND;
  if (params->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
  if (params->cArgs > MaxArguments()) return DISP_E_BADPARAMCOUNT;
  VARIANT value;
  VariantInit(&value);
  try {
    const Answer answer = Call(member, Arguments(*params), value);
    if (answer.code != S_OK) return Raise(answer, info);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  if (result) {
    *result = value;
  } else {
    VariantClear(&value);
  }
  return S_OK;
}

void PutObject(VARIANT& out, IDispatch* owned) {
  out.vt = VT_DISPATCH;
  out.pdispVal = owned;
}

BSTR NewBstr(std::string_view utf8) {
  const int bytes = static_cast<int>(utf8.size());
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  const BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(units));
  if (!text) throw std::bad_alloc();
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, text, units);
  return text;
}

// The record of an event: the values of one line.
class Record final : public AutomationObject {
 public:
  Record(RecordLine line, const HRESULT* failures) : line_(std::move(line)) {
    if (failures) std::copy_n(failures, failures_.size(), failures_.begin());
  }

 private:
  std::span<const Member> Members() const override {
    static constexpr Member kMembers[] = {{L"EventType", DISPATCH_PROPERTYGET},    {L"Type", DISPATCH_PROPERTYGET},
                                          {L"EventCode", DISPATCH_PROPERTYGET},    {L"SourceName", DISPATCH_PROPERTYGET},
                                          {L"Message", DISPATCH_PROPERTYGET},      {L"Logfile", DISPATCH_PROPERTYGET},
                                          {L"TimeGenerated", DISPATCH_PROPERTYGET}};
    static_assert(std::size(kMembers) == kProperties.size());
    return kMembers;
  }
  Answer Call(std::size_t member, const Arguments&, VARIANT& result) override {
    if (failures_[member] != S_OK)
      return {failures_[member], L"SWbemObjectEx", L"Stand-in: this property was ordered to fail"};
    Put(member, result);
    return {};
  }
  void Put(std::size_t member, VARIANT& out) const;

  RecordLine line_;
  std::array<HRESULT, kProperties.size()> failures_{};
};

// The real service types EventType as a byte and the other numbers as 32-bit integers.
void PutNumber(bool asByte, std::int32_t number, VARIANT& out) {
  if (asByte && number >= 0 && number <= 255) {
    out.vt = VT_UI1;
    out.bVal = static_cast<BYTE>(number);
  } else {
    out.vt = VT_I4;
    out.lVal = number;
  }
}

void Record::Put(std::size_t member, VARIANT& out) const {
  const Value& value = line_.values[member];
  if (const auto* text = std::get_if<std::string>(&value)) {
    out.bstrVal = NewBstr(*text);
    out.vt = VT_BSTR;
  } else if (const auto* number = std::get_if<std::int32_t>(&value)) {
    PutNumber(member == kEventType, *number, out);
  } else if (const auto* real = std::get_if<double>(&value)) {
    out.vt = VT_R8;
    out.dblVal = *real;
  } else if (const auto* truth = std::get_if<bool>(&value)) {
    out.vt = VT_BOOL;
    out.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
  } else if (const auto* date = std::get_if<Date>(&value)) {
    out.vt = VT_DATE;
    out.date = date->days;
  } else if (std::holds_alternative<Object>(value)) {
    PutObject(out, new Record(RecordLine{}, nullptr));
  } else {
    out.vt = VT_NULL;
  }
}

// The event: it carries a record.
class Event final : public AutomationObject {
 public:
  // Takes over the reference.
  explicit Event(IDispatch* record) : record_(record) {}

 private:
  ~Event() override { record_->Release(); }
  std::span<const Member> Members() const override {
    static constexpr Member kMembers[] = {{L"TargetInstance", DISPATCH_PROPERTYGET}};
    return kMembers;
  }
  Answer Call(std::size_t, const Arguments&, VARIANT& result) override {
    record_->AddRef();
    PutObject(result, record_);
    return {};
  }

  IDispatch* record_;
};

// The event source: plays the feed.
class EventSource final : public AutomationObject {
 public:
  explicit EventSource(const std::wstring& feed) : feed_(feed), progressFile_(feed) { progressFile_.Write(progress_); }

 private:
  std::span<const Member> Members() const override {
    static constexpr Member kMembers[] = {{L"NextEvent", DISPATCH_METHOD}};
    return kMembers;
  }
  std::size_t MaxArguments() const override { return 1; }
  Answer Call(std::size_t, const Arguments& arguments, VARIANT& result) override;
  Answer NextEvent(std::uint32_t milliseconds, VARIANT& result);
  bool NextLine(std::uint32_t milliseconds);
  // True when the line ends the call.
  bool Play(FeedLine line, Answer& answer, VARIANT& result);

  std::mutex mutex_;
  Feed feed_;
  ProgressFile progressFile_;
  Progress progress_;
  std::string line_;
  std::array<HRESULT, kProperties.size()> failures_{};  // ordered for the next record
};

Answer EventSource::Call(std::size_t, const Arguments& arguments, VARIANT& result) {
  std::uint32_t milliseconds = kForever;
  if (arguments.Has(0)) {
    VARIANT number;
    VariantInit(&number);
    if (const HRESULT error = arguments.Get(0, VT_I4, number); error != S_OK) return {.code = error};
    milliseconds = static_cast<std::uint32_t>(number.lVal);
  }
  const std::lock_guard lock(mutex_);
  return NextEvent(milliseconds, result);
}

Answer EventSource::NextEvent(std::uint32_t milliseconds, VARIANT& result) {
  ++progress_.calls;
  Answer answer;
  do {
    if (!NextLine(milliseconds)) return {kTimedOut, L"SWbemEventSource", L"Stand-in: no record in time"};
  } while (!Play(ParseFeedLine(line_), answer, result));
  progressFile_.Write(progress_);
  return answer;
}

bool EventSource::NextLine(std::uint32_t milliseconds) {
  if (feed_.TryRead(line_)) return true;
  // Whoever waits for the receiver to be back has to see it waiting.
  progressFile_.Write(progress_);
  const ULONGLONG start = GetTickCount64();
  std::uint32_t left = milliseconds;
  while (left > 0) {
    feed_.WaitForChange(left);
    if (feed_.TryRead(line_)) return true;
    if (milliseconds == kForever) continue;
    const ULONGLONG passed = GetTickCount64() - start;
    left = passed < milliseconds ? milliseconds - static_cast<std::uint32_t>(passed) : 0;
  }
  return false;
}

bool EventSource::Play(FeedLine line, Answer& answer, VARIANT& result) {
  if (auto* record = std::get_if<RecordLine>(&line)) {
    PutObject(result, new Event(new Record(std::move(*record), failures_.data())));
    failures_ = {};
    ++progress_.delivered;
    return true;
  }
  if (const auto* order = std::get_if<FailNextEventLine>(&line)) {
    answer = {order->hresult, L"SWbemEventSource", L"Stand-in: this NextEvent was ordered to fail"};
    ++progress_.failed;
    return true;
  }
  if (const auto* order = std::get_if<FailPropertyLine>(&line)) {
    failures_[order->property] = order->hresult;
  } else {
    ++progress_.skipped;
  }
  return false;
}

// Goes through records once, from front to back.
class Enumerator final : public CountedObject<IEnumVARIANT> {
 public:
  explicit Enumerator(std::vector<RecordLine> records) : records_(std::move(records)) { ++liveObjects; }

  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* out, ULONG* got) override try {
    if (!out) return E_POINTER;
    ULONG done = 0;
    for (; done < count && next_ < records_.size(); ++done, ++next_) {
      VariantInit(&out[done]);
      PutObject(out[done], new Record(std::move(records_[next_]), nullptr));
    }
    if (got) *got = done;
    return done == count ? S_OK : S_FALSE;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT**) override { return E_NOTIMPL; }

 private:
  ~Enumerator() override { --liveObjects; }

  std::vector<RecordLine> records_;
  std::size_t next_ = 0;
};

// What a query for past records gives. Its only member has no name, just the number that every collection's has.
class ObjectSet final : public AutomationObject {
 public:
  explicit ObjectSet(std::vector<RecordLine> records) : records_(std::move(records)) {}

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD kind, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* info, UINT* argument) override try {
    if (id != DISPID_NEWENUM || !result)
      return AutomationObject::Invoke(id, iid, locale, kind, params, result, info, argument);
    result->vt = VT_UNKNOWN;
    result->punkVal = new Enumerator(std::move(records_));
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }

 private:
  std::span<const Member> Members() const override { return {}; }
  Answer Call(std::size_t, const Arguments&, VARIANT&) override { return {.code = DISP_E_MEMBERNOTFOUND}; }

  std::vector<RecordLine> records_;
};

std::string Utf8(std::wstring_view text) {
  const int units = static_cast<int>(text.size());
  std::string out(
      static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, out.data(), static_cast<int>(out.size()), nullptr, nullptr);
  return out;
}

class Services final : public AutomationObject {
 private:
  enum MemberNumber : std::size_t { kExecNotificationQuery, kExecQuery };

  std::span<const Member> Members() const override {
    static constexpr Member kMembers[] = {{L"ExecNotificationQuery", DISPATCH_METHOD}, {L"ExecQuery", DISPATCH_METHOD}};
    return kMembers;
  }
  // The real methods take the query's language, flags and a value set after the query.
  std::size_t MaxArguments() const override { return 3; }
  Answer Call(std::size_t member, const Arguments& arguments, VARIANT& result) override {
    // For notifications nobody here passes more than the query.
    if (!arguments.Has(0) || (member == kExecNotificationQuery && arguments.Count() > 1))
      return {.code = DISP_E_BADPARAMCOUNT};
    VARIANT query;
    VariantInit(&query);
    if (const HRESULT error = arguments.Get(0, VT_BSTR, query); error != S_OK) return {.code = error};
    const std::wstring text = query.bstrVal ? std::wstring(query.bstrVal, SysStringLen(query.bstrVal)) : std::wstring();
    VariantClear(&query);
    return Answered(member, text, result);
  }
  static Answer Answered(std::size_t member, const std::wstring& text, VARIANT& result) {
    const auto query = member == kExecQuery ? ParseLogQuery(Utf8(text)) : std::nullopt;
    if (!query && (member == kExecQuery || text != kQuery))
      return {kInvalidQuery, L"SWbemServicesEx", L"Stand-in: invalid query"};
    if (SwitchIsOn(kFailQueryValue)) return {kAccessDenied, L"SWbemServicesEx", L"Stand-in: the query was ordered to fail"};
    const std::wstring feed = ConfiguredFeed();
    if (feed.empty()) return {kNoFeed, L"SWbemServicesEx", L"Stand-in: no feed is configured"};
    if (query) {
      PutObject(result, new ObjectSet(SelectRecords(feed, *query)));
    } else {
      PutObject(result, new EventSource(feed));
    }
    return {};
  }
};

}  // namespace

IDispatch* NewServices() { return new Services; }

long LiveObjects() noexcept { return liveObjects; }

}  // namespace ovs::standin
