// STAND-IN for tests: the COM server. The class object behind the moniker's prefix turns the whole display name into a
// moniker for the services object.
#include <windows.h>
#include <objbase.h>
#include <oleidl.h>

#include <atomic>
#include <cwchar>
#include <new>

#include "Automation.h"
#include "Feed.h"
#include "StandinNames.h"

// COM interfaces have no virtual destructor: their objects end themselves in Release.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ovs::standin {
namespace {

// Not MK_E_SYNTAX: that would make the caller look for a file of that name.
constexpr HRESULT kInvalidSyntax = static_cast<HRESULT>(0x80041021);

std::atomic<long> serverLocks{0};

HRESULT NewServicesMoniker(IMoniker** moniker) try {
  IDispatch* const services = NewServices();
  const HRESULT result = CreatePointerMoniker(services, moniker);
  services->Release();
  return result;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
}

// One for the whole process, part of the library itself: its count keeps the library in memory, no more.
class ClassObject final : public IParseDisplayName, public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (IsEqualIID(iid, IID_IClassFactory)) {
      *out = static_cast<IClassFactory*>(this);
    } else if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IParseDisplayName)) {
      *out = static_cast<IParseDisplayName*>(this);
    }
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++serverLocks); }
  ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--serverLocks); }

  HRESULT STDMETHODCALLTYPE ParseDisplayName(IBindCtx*, LPOLESTR name, ULONG* eaten, IMoniker** moniker) override {
    if (!name || !eaten || !moniker) return E_POINTER;
    *eaten = 0;
    *moniker = nullptr;
    if (std::wcscmp(name, kMoniker) != 0) return kInvalidSyntax;
    if (SwitchIsOn(kFailConnectValue)) return kAccessDenied;
    const HRESULT result = NewServicesMoniker(moniker);
    if (result == S_OK) *eaten = static_cast<ULONG>(std::wcslen(name));
    return result;
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override try {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    IDispatch* const services = NewServices();
    const HRESULT result = services->QueryInterface(iid, out);
    services->Release();
    return result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    serverLocks += lock ? 1 : -1;
    return S_OK;
  }
};

ClassObject classObject;

}  // namespace
}  // namespace ovs::standin

extern "C" __declspec(dllexport) HRESULT WINAPI DllGetClassObject(REFCLSID wanted, REFIID iid, void** out) {
  using namespace ovs::standin;
  CLSID ours;
  if (CLSIDFromString(kClsid, &ours) != S_OK || !IsEqualCLSID(wanted, ours)) return CLASS_E_CLASSNOTAVAILABLE;
  return classObject.QueryInterface(iid, out);
}

extern "C" __declspec(dllexport) HRESULT WINAPI DllCanUnloadNow() {
  using namespace ovs::standin;
  return serverLocks == 0 && LiveObjects() == 0 ? S_OK : S_FALSE;
}
