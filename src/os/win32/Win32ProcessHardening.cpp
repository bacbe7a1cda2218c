#include <windows.h>

#include "os/ProcessHardening.h"

namespace ovs::os {

namespace {

// Of the system's core library; null on a Windows that is too old to have it.
template <class Function>
Function* Find(const char* name) noexcept {
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name);
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

}  // namespace

// Each of these makes something harder that should not happen anyway: one that the system refuses costs nothing else.
void HardenProcess() noexcept {
  HeapSetInformation(nullptr, HeapEnableTerminationOnCorruption, nullptr, 0);
  SetDllDirectoryW(L"");
  if (const auto setDirectories = Find<BOOL WINAPI(DWORD)>("SetDefaultDllDirectories")) {
    setDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  }
  PROCESS_MITIGATION_IMAGE_LOAD_POLICY images{};
  images.NoRemoteImages = 1;
  images.NoLowMandatoryLabelImages = 1;
  images.PreferSystem32Images = 1;
  if (const auto setPolicy = Find<BOOL WINAPI(PROCESS_MITIGATION_POLICY, PVOID, SIZE_T)>("SetProcessMitigationPolicy")) {
    setPolicy(ProcessImageLoadPolicy, &images, sizeof images);
  }
}

}  // namespace ovs::os
