# Warnings and code generation. Everything of ours links ovs_warnings privately; libraries from elsewhere do not.
add_library(ovs_warnings INTERFACE)
# Warnings are g++'s, the compiler that both builds use.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
set(shadow -Wshadow)
if(OVS_UNITY)
  # In a joint source a local name may well be a constant of the file before, and a file's private type looks like one that a
  # header has given away.
  set(shadow -Wshadow=local -Wno-subobject-linkage)
endif()
target_compile_options(ovs_warnings INTERFACE
  "$<$<COMPILE_LANGUAGE:CXX>:-Wall;-Wextra;-Wpedantic;${shadow};-Wconversion;-Wsign-conversion;-Wold-style-cast>"
  "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual;-Wnull-dereference;-Wextra-semi;-Werror>"
  # g++ 12 finds overlaps in its own library's "literal" + string where there are none (GCC bug 105651).
  "$<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>")
endif()

add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fno-omit-frame-pointer>")
if(WIN32)
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
  # A processor fault is turned into a C++ exception where it happens, so any instruction may throw.
  add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fnon-call-exceptions>")
  # An overrun of a buffer on the stack, or of one whose size the compiler knows, ends the process.
  add_compile_options(-fstack-protector-strong "$<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>")
  add_link_options(-fstack-protector-strong)
  add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-ffunction-sections;-fdata-sections>")
  add_link_options(-Wl,--gc-sections $<$<CONFIG:Release>:-s>)
endif()

if(OVS_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(OVS_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()
