// Base of the COM objects that tests offer: an object of one interface, which ends itself with its last reference.
#pragma once

#include <windows.h>
// The order matters.
#include <objbase.h>

#include <atomic>

// COM interfaces have no virtual destructor: their objects end themselves in Release.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ovs::standin {

// Made with one reference, which the maker owns. References may be counted on any thread.
template <class Interface>
class CountedObject : public Interface {
 public:
  CountedObject() = default;
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, __uuidof(Interface));
    *out = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~CountedObject() = default;

 private:
  std::atomic<ULONG> references_{1};
};

// One that is called by name and has no type library.
class CountedDispatch : public CountedObject<IDispatch> {
 public:
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
};

}  // namespace ovs::standin
