# CMake toolchain: 64-bit Windows programs by Debian's MinGW-w64 (POSIX threads), tests run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(OVS_CROSS x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${OVS_CROSS}-gcc-posix)
set(CMAKE_CXX_COMPILER ${OVS_CROSS}-g++-posix)
set(CMAKE_RC_COMPILER ${OVS_CROSS}-windres)
set(OVS_MESSAGE_COMPILER ${OVS_CROSS}-windmc)

# Libraries and headers come from the cross tree alone, helper programs from this machine.
set(CMAKE_FIND_ROOT_PATH /usr/${OVS_CROSS} ${CMAKE_PREFIX_PATH})
# Otherwise zlib's import library would be taken, and its DLL needed.
set(ZLIB_USE_STATIC_LIBS ON)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# One file that needs no library beside it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

find_program(OVS_WINE NAMES wine64 wine PATHS /usr/lib/wine REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-windows-program.sh ${OVS_WINE})
