#include "os/win32/ComApartment.h"

#include <windows.h>
#include <objbase.h>

#include "base/Numbers.h"
#include "base/RuntimeError.h"

namespace ovs {

ComApartment::ComApartment() {
  const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (SUCCEEDED(result)) return;
  throw RuntimeError(RuntimeErrorNumber::kComponent,
                     u"CoInitializeEx failed: " + HexText(static_cast<std::uint32_t>(result), 8));
}

ComApartment::~ComApartment() { CoUninitialize(); }

}  // namespace ovs
