// wmiprobe: receives event records the way the service does (moniker, notification query, NextEvent, seven properties,
// all by late binding) and prints them.
//   --count N       ends after N records (default 1)
//   --timeout MS    gives NextEvent a time-out
//   --go-on         a failing NextEvent does not end the run, but counts as a record
//   --moniker TEXT, --query TEXT   other texts than the service's
// Exit codes: 0 all received, 1 something failed (error number, source and description are printed), 2 usage.
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "Console.h"
#include "standin/StandinNames.h"

namespace {

using namespace ovs::tools;
using namespace ovs::standin;

constexpr std::array<const wchar_t*, 7> kNames = {L"EventType", L"Type",    L"EventCode",    L"SourceName",
                                                  L"Message",   L"Logfile", L"TimeGenerated"};

struct Options {
  unsigned long count = 1;
  unsigned long timeout = 0;
  bool hasTimeout = false;
  bool goOn = false;
  const wchar_t* moniker = kMoniker;
  const wchar_t* query = kQuery;
};

class Variant {
 public:
  Variant() { VariantInit(&value); }
  explicit Variant(const wchar_t* text) : Variant() {
    value.bstrVal = SysAllocString(text);
    value.vt = VT_BSTR;
  }
  explicit Variant(unsigned long number) : Variant() {
    value.lVal = static_cast<LONG>(number);
    value.vt = VT_I4;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&value); }

  VARIANT value;
};

struct Releaser {
  void operator()(IUnknown* object) const noexcept { object->Release(); }
};
using Dispatch = std::unique_ptr<IDispatch, Releaser>;

std::string Hex(HRESULT number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(number));
  return text;
}

std::string TakeBstr(BSTR text) {
  const std::string out = text ? Utf8({text, SysStringLen(text)}) : "";
  SysFreeString(text);
  return out;
}

[[noreturn]] void Fail(const std::wstring& what, HRESULT result, EXCEPINFO* info = nullptr) {
  std::string text = Utf8(what) + " failed: " + Hex(result);
  if (info && result == DISP_E_EXCEPTION)
    text += ", " + Hex(info->scode) + " from " + TakeBstr(info->bstrSource) + ": " + TakeBstr(info->bstrDescription);
  throw std::runtime_error(text);
}

void Invoke(IDispatch* object, const wchar_t* name, WORD kind, VARIANT* argument, Variant& result) {
  auto* text = const_cast<wchar_t*>(name);
  DISPID id = DISPID_UNKNOWN;
  const HRESULT found = object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_NEUTRAL, &id);
  if (found != S_OK) Fail(name, found);
  DISPPARAMS params{argument, nullptr, argument ? 1U : 0U, 0};
  EXCEPINFO info{};
  const HRESULT done = object->Invoke(id, IID_NULL, LOCALE_NEUTRAL, kind, &params, &result.value, &info, nullptr);
  if (done != S_OK) Fail(name, done, &info);
}

Dispatch InvokeForObject(IDispatch* object, const wchar_t* name, WORD kind, VARIANT* argument) {
  Variant result;
  Invoke(object, name, kind, argument, result);
  if (result.value.vt != VT_DISPATCH) throw std::runtime_error(Utf8(name) + " gave no object");
  return Dispatch(std::exchange(result.value.pdispVal, nullptr));
}

Dispatch Connect(const wchar_t* moniker) {
  void* object = nullptr;
  const HRESULT result = CoGetObject(moniker, nullptr, IID_IDispatch, &object);
  if (result != S_OK) Fail(L"GetObject", result);
  return Dispatch(static_cast<IDispatch*>(object));
}

std::string Quoted(BSTR text) {
  std::string out = "\"";
  for (UINT i = 0; i < SysStringLen(text); ++i) {
    const wchar_t unit = text[i];
    if (unit < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(unit));
      out += escape;
    } else if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < SysStringLen(text)) {
      out += Utf8({text + i++, 2});
    } else {
      out += Utf8({&unit, 1});
    }
  }
  return out + "\"";
}

std::string Show(const VARIANT& value) {
  switch (value.vt) {
    case VT_NULL:
      return "null";
    case VT_BSTR:
      return "text " + Quoted(value.bstrVal);
    case VT_UI1:
      return "byte " + std::to_string(value.bVal);
    case VT_I4:
      return "int " + std::to_string(value.lVal);
    case VT_R8:
      return "real " + std::to_string(value.dblVal);
    case VT_DATE:
      return "date " + std::to_string(value.date);
    case VT_BOOL:
      return value.boolVal ? "true" : "false";
    case VT_DISPATCH:
      return "object";
    default:
      return "variant of type " + std::to_string(value.vt);
  }
}

// One line: the seven values, a failing one shown as such.
std::string ReadRecord(IDispatch* record) {
  std::string line;
  for (const wchar_t* name : kNames) {
    line += (line.empty() ? "" : " | ") + Utf8(name) + " ";
    try {
      Variant value;
      Invoke(record, name, DISPATCH_PROPERTYGET, nullptr, value);
      line += Show(value.value);
    } catch (const std::runtime_error& error) {
      line += error.what();
    }
  }
  return line;
}

std::string NextRecord(IDispatch* source, const Options& options) {
  Variant timeout(options.timeout);
  const Dispatch event =
      InvokeForObject(source, L"NextEvent", DISPATCH_METHOD, options.hasTimeout ? &timeout.value : nullptr);
  return ReadRecord(InvokeForObject(event.get(), L"TargetInstance", DISPATCH_PROPERTYGET, nullptr).get());
}

std::string NextRecordOrFailure(IDispatch* source, const Options& options) try {
  return NextRecord(source, options);
} catch (const std::runtime_error& error) {
  if (!options.goOn) throw;
  return error.what();
}

void Receive(const Options& options) {
  const Dispatch services = Connect(options.moniker);
  Variant query(options.query);
  const Dispatch source = InvokeForObject(services.get(), L"ExecNotificationQuery", DISPATCH_METHOD, &query.value);
  for (unsigned long i = 0; i < options.count; ++i) Say(NextRecordOrFailure(source.get(), options));
}

Options Read(int argc, wchar_t** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::wstring option = argv[i];
    const wchar_t* const value = i + 1 < argc ? argv[i + 1] : nullptr;
    const auto number = [&](unsigned long& out) {
      if (!value || !ToNumber(value, out)) throw std::invalid_argument(Utf8(option));
      ++i;
      return true;
    };
    const auto text = [&](const wchar_t*& out) {
      if (!value) throw std::invalid_argument(Utf8(option));
      out = value;
      ++i;
    };
    if (option == L"--go-on")
      options.goOn = true;
    else if (option == L"--count")
      number(options.count);
    else if (option == L"--timeout")
      options.hasTimeout = number(options.timeout);
    else if (option == L"--moniker")
      text(options.moniker);
    else if (option == L"--query")
      text(options.query);
    else
      throw std::invalid_argument(Utf8(option));
  }
  return options;
}

}  // namespace

int wmain(int argc, wchar_t** argv) try {
  const Options options = Read(argc, argv);
  if (CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED) != S_OK) return 1;
  Receive(options);
  CoUninitialize();
  return 0;
} catch (const std::invalid_argument& error) {
  Say(std::string("usage: wmiprobe [--count N] [--timeout MS] [--go-on] [--moniker TEXT] [--query TEXT]\n"
                  "not understood: ") +
      error.what());
  return 2;
} catch (const std::exception& error) {
  Say(error.what());
  return 1;
}
