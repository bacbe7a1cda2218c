#include "os/win32/Automation.h"

#include <windows.h>
// The order matters.
#include <oaidl.h>
#include <objbase.h>
#include <oleauto.h>

#include <iterator>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "os/System.h"
#include "os/win32/Win32Support.h"

namespace ovs::win32 {

namespace {

// Owner of a VARIANT's content. One array of them serves as an argument list.
struct Variant {
  Variant() { VariantInit(&value); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&value); }

  VARIANT value;
};

Text TakeBstr(BSTR owned) {
  Text text = owned == nullptr ? Text() : FromWide({owned, SysStringLen(owned)});
  SysFreeString(owned);
  return text;
}

[[noreturn]] void Fail(TextView call, HRESULT result, Text source = {}, Text description = {}) {
  const auto code = static_cast<std::uint32_t>(result);
  if (description.empty()) description = os::ThisSystem().MessageText(code).value_or(Text());
  throw RuntimeError(static_cast<int>(result), Text(call) + u" failed: 0x" + HexText(code, 8) + u" " + description,
                     std::move(source));
}

// Takes the texts out of an exception record, also those that are delivered late.
[[noreturn]] void FailWith(TextView call, EXCEPINFO& info) {
  if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
  SysFreeString(info.bstrHelpFile);
  Text source = TakeBstr(info.bstrSource);
  Text description = TakeBstr(info.bstrDescription);
  Fail(call, info.scode != 0 ? info.scode : DISP_E_EXCEPTION, std::move(source), std::move(description));
}

BSTR NewBstr(TextView text) {
  const std::wstring wide = ToWide(text);
  const BSTR made = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

struct PutInto {
  VARIANT& out;
  IDispatch* (*dispatchOf)(const AutomationObject&);

  void operator()(std::monostate) const { out.vt = VT_NULL; }
  void operator()(bool value) const {
    out.vt = VT_BOOL;
    out.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
  void operator()(std::int64_t value) const {
    const bool fits = value >= std::numeric_limits<LONG>::min() && value <= std::numeric_limits<LONG>::max();
    if (!fits) throw RuntimeError(RuntimeErrorNumber::kOverflow, u"Overflow");
    out.vt = VT_I4;
    out.lVal = static_cast<LONG>(value);
  }
  void operator()(double value) const {
    out.vt = VT_R8;
    out.dblVal = value;
  }
  void operator()(const Text& value) const {
    out.bstrVal = NewBstr(value);
    out.vt = VT_BSTR;
  }
  void operator()(AutomationDate value) const {
    out.vt = VT_DATE;
    out.date = value.days;
  }
  void operator()(const AutomationObject& value) const {
    out.pdispVal = dispatchOf(value);
    out.pdispVal->AddRef();
    out.vt = VT_DISPATCH;
  }
};

// Empties `from` of the object.
AutomationValue TakeObject(VARIANT& from) {
  IDispatch* object = nullptr;
  if (from.punkVal != nullptr) from.punkVal->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object));
  if (object == nullptr) return std::monostate();
  return AutomationObject(object);
}

template <class Number>
AutomationValue Whole(Number number) {
  return static_cast<std::int64_t>(number);
}

AutomationValue ByConversion(VARIANT& from) {
  Variant real;
  if (FAILED(VariantChangeType(&real.value, &from, 0, VT_R8))) return std::monostate();
  return real.value.dblVal;
}

AutomationValue Take(VARIANT& from) {
  switch (from.vt) {
    case VT_BSTR:
      return from.bstrVal == nullptr ? Text() : FromWide({from.bstrVal, SysStringLen(from.bstrVal)});
    case VT_BOOL:
      return from.boolVal != VARIANT_FALSE;
    case VT_I1:
      return Whole(static_cast<signed char>(from.cVal));
    case VT_UI1:
      return Whole(from.bVal);
    case VT_I2:
      return Whole(from.iVal);
    case VT_UI2:
      return Whole(from.uiVal);
    case VT_I4:
    case VT_INT:
      return Whole(from.lVal);
    case VT_UI4:
    case VT_UINT:
      return Whole(from.ulVal);
    case VT_I8:
      return Whole(from.llVal);
    case VT_R8:
      return from.dblVal;
    case VT_R4:
    case VT_UI8:
    case VT_CY:
    case VT_DECIMAL:
      return ByConversion(from);
    case VT_DATE:
      return AutomationDate{from.date};
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return TakeObject(from);
    default:
      return std::monostate();
  }
}

AutomationValue ToValue(VARIANT& from) {
  if ((from.vt & VT_BYREF) == 0) return Take(from);
  Variant copy;
  if (FAILED(VariantCopyInd(&copy.value, &from))) return std::monostate();
  return Take(copy.value);
}

HRESULT FindMember(IDispatch& object, TextView name, DISPID& id) {
  std::wstring wide = ToWide(name);
  LPOLESTR member = wide.data();
  return object.GetIDsOfNames(IID_NULL, &member, 1, LOCALE_NEUTRAL, &id);
}

// The file that is registered as the server of a class for 64-bit programs; empty when there is none.
std::wstring ServerOf(const CLSID& id) {
  wchar_t name[40] = {};
  StringFromGUID2(id, name, static_cast<int>(std::size(name)));
  const std::wstring key = std::wstring(L"CLSID\\") + name + L"\\InprocServer32";
  wchar_t file[MAX_PATH] = {};
  DWORD bytes = sizeof file;
  const bool isKnown = RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, file, &bytes) == 0;
  return isKnown ? file : std::wstring();
}

HRESULT LookForClassObject(const CLSID& id) {
  void* object = nullptr;
  const HRESULT result = CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_IUnknown, &object);
  if (SUCCEEDED(result)) static_cast<IUnknown*>(object)->Release();
  return result;
}

// Where libraries come from the system folder alone (HardenProcess), COM cannot load a server that is registered by its bare
// file name: its way of loading then takes full paths only (0x80070057). Such a server of the system is loaded here and
// offered under its class, until the apartment ends.
bool OfferServer(const CLSID& id) {
  const std::wstring file = ServerOf(id);
  if (file.empty() || file.find_first_of(L"\\/:") != std::wstring::npos) return false;
  wchar_t folder[MAX_PATH] = {};
  if (GetSystemDirectoryW(folder, MAX_PATH) == 0) return false;
  const HMODULE library = LoadLibraryW((std::wstring(folder) + L"\\" + file).c_str());
  if (library == nullptr) return false;
  using GetClassObject = HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**);
  const auto getClassObject =
      reinterpret_cast<GetClassObject*>(reinterpret_cast<void*>(GetProcAddress(library, "DllGetClassObject")));
  void* made = nullptr;
  if (getClassObject == nullptr || FAILED(getClassObject(id, IID_IUnknown, &made))) return false;
  auto* const object = static_cast<IUnknown*>(made);
  DWORD cookie = 0;
  const HRESULT offered = CoRegisterClassObject(id, object, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
  object->Release();
  return SUCCEEDED(offered);
}

// The class of a name; sees to it that COM reaches its server.
HRESULT FindClass(TextView progId, CLSID& id) {
  HRESULT result = CLSIDFromProgID(ToWide(progId).c_str(), &id);
  if (SUCCEEDED(result)) result = LookForClassObject(id);
  return FAILED(result) && OfferServer(id) ? S_OK : result;
}

}  // namespace

AutomationObject AutomationObject::FromMoniker(TextView displayName) {
  CLSID id{};
  static_cast<void>(FindClass(displayName.substr(0, displayName.find(u':')), id));  // the call below says what is wrong
  void* object = nullptr;
  const HRESULT result = CoGetObject(ToWide(displayName).c_str(), nullptr, IID_IDispatch, &object);
  if (FAILED(result)) Fail(Text(u"GetObject ") + Text(displayName), result);
  return AutomationObject(static_cast<IDispatch*>(object));
}

AutomationObject AutomationObject::FromProgId(TextView progId) {
  const Text call = u"CreateObject " + Text(progId);
  CLSID id{};
  const HRESULT known = FindClass(progId, id);
  if (FAILED(known)) Fail(call, known);
  void* object = nullptr;
  const HRESULT result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object);
  if (FAILED(result)) Fail(call, result);
  return AutomationObject(static_cast<IDispatch*>(object));
}

bool AutomationObject::IsRegistered(TextView progId) {
  CLSID id{};
  return SUCCEEDED(CLSIDFromProgID(ToWide(progId).c_str(), &id)) && FindClass(progId, id) != REGDB_E_CLASSNOTREG;
}

AutomationObject::AutomationObject(IDispatch* owned) : object_(owned, [](IDispatch* object) { object->Release(); }) {}

AutomationValue AutomationObject::Call(TextView name, std::initializer_list<AutomationValue> arguments) const {
  return Invoke(name, DISPATCH_METHOD, arguments);
}

// Some components declare a property with arguments as a method.
AutomationValue AutomationObject::Get(TextView property, std::initializer_list<AutomationValue> arguments) const {
  const int kind = arguments.size() == 0 ? DISPATCH_PROPERTYGET : DISPATCH_PROPERTYGET | DISPATCH_METHOD;
  return Invoke(property, static_cast<std::uint16_t>(kind), arguments);
}

void AutomationObject::Put(TextView property, AutomationValue value) const {
  Invoke(property, DISPATCH_PROPERTYPUT, {std::move(value)});
}

bool AutomationObject::Knows(TextView member) const {
  DISPID id = DISPID_UNKNOWN;
  return SUCCEEDED(FindMember(*object_, member, id));
}

AutomationValue AutomationObject::Invoke(TextView name, std::uint16_t kind,
                                         std::initializer_list<AutomationValue> arguments) const {
  DISPID id = DISPID_UNKNOWN;
  const HRESULT known = FindMember(*object_, name, id);
  if (FAILED(known)) Fail(name, known);

  // Arguments are passed last one first.
  static_assert(sizeof(Variant) == sizeof(VARIANT));
  std::vector<Variant> list(arguments.size());
  std::size_t at = arguments.size();
  for (const AutomationValue& argument : arguments) {
    std::visit(PutInto{list[--at].value, [](const AutomationObject& object) { return object.object_.get(); }}, argument);
  }
  DISPPARAMS params{list.empty() ? nullptr : &list.front().value, nullptr, static_cast<UINT>(list.size()), 0};
  // The value that is put is an argument with this name.
  DISPID putName = DISPID_PROPERTYPUT;
  if (kind == DISPATCH_PROPERTYPUT) {
    params.rgdispidNamedArgs = &putName;
    params.cNamedArgs = 1;
  }
  Variant result;
  EXCEPINFO info{};
  const HRESULT done = object_->Invoke(id, IID_NULL, LOCALE_NEUTRAL, kind, &params, &result.value, &info, nullptr);
  if (done == DISP_E_EXCEPTION) FailWith(name, info);
  if (FAILED(done)) Fail(name, done);
  return ToValue(result.value);
}

void AutomationObject::ForEach(const std::function<bool(const AutomationObject& member)>& take) const {
  constexpr TextView kCall = u"the collection's next member";
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  Variant made;
  EXCEPINFO info{};
  const HRESULT done = object_->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_NEUTRAL, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                                       &none, &made.value, &info, nullptr);
  if (done == DISP_E_EXCEPTION) FailWith(kCall, info);
  if (FAILED(done)) Fail(kCall, done);
  const bool isObject = (made.value.vt == VT_UNKNOWN || made.value.vt == VT_DISPATCH) && made.value.punkVal != nullptr;
  IEnumVARIANT* raw = nullptr;
  if (isObject) made.value.punkVal->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(&raw));
  if (raw == nullptr) Fail(kCall, E_NOINTERFACE);
  const std::shared_ptr<IEnumVARIANT> members(raw, [](IEnumVARIANT* object) { object->Release(); });
  for (;;) {
    Variant member;
    ULONG count = 0;
    const HRESULT next = members->Next(1, &member.value, &count);
    if (FAILED(next)) Fail(kCall, next);
    if (next != S_OK || count == 0) return;
    const AutomationValue value = ToValue(member.value);
    const auto* object = std::get_if<AutomationObject>(&value);
    if (object != nullptr && !take(*object)) return;
  }
}

Text AutomationObject::TypeName() const {
  ITypeInfo* type = nullptr;
  if (FAILED(object_->GetTypeInfo(0, LOCALE_NEUTRAL, &type)) || type == nullptr) return u"Object";
  const std::shared_ptr<ITypeInfo> owner(type, [](ITypeInfo* object) { object->Release(); });
  BSTR name = nullptr;
  if (FAILED(type->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr))) return u"Object";
  return TakeBstr(name);
}

AutomationObject ObjectOf(AutomationValue value, TextView what) {
  if (auto* object = std::get_if<AutomationObject>(&value)) return std::move(*object);
  throw RuntimeError(RuntimeErrorNumber::kComponent, Text(what) + u" gave no object");
}

bool TruthOf(const AutomationValue& value) {
  if (const auto* truth = std::get_if<bool>(&value)) return *truth;
  const auto* number = std::get_if<std::int64_t>(&value);
  return number != nullptr && *number != 0;
}

Text TextOf(AutomationValue value) {
  auto* text = std::get_if<Text>(&value);
  return text == nullptr ? Text() : std::move(*text);
}

std::int32_t NumberOf(const AutomationValue& value, TextView what) {
  const auto* number = std::get_if<std::int64_t>(&value);
  if (number != nullptr && std::in_range<std::int32_t>(*number)) return static_cast<std::int32_t>(*number);
  throw RuntimeError(RuntimeErrorNumber::kComponent, Text(what) + u" gave no number");
}

ComApartment::ComApartment() {
  const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (SUCCEEDED(result)) return;
  throw RuntimeError(RuntimeErrorNumber::kComponent,
                     u"CoInitializeEx failed: " + HexText(static_cast<std::uint32_t>(result), 8));
}

ComApartment::~ComApartment() { CoUninitialize(); }

}  // namespace ovs::win32
