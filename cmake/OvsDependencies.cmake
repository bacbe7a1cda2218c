# Libraries that Debian packages as headers or sources; scripts/setup.sh installs them. Both builds use the same ones.
#
# Headers alone (nlohmann-json3-dev, libcli11-dev): linked into a folder of their own, because the cross compiler must not
# see the rest of /usr/include.
function(ovs_header_library target folder)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: run scripts/setup.sh demo")
  endif()
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/headers)
  file(CREATE_LINK /usr/include/${folder} ${PROJECT_BINARY_DIR}/headers/${folder} SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/headers)
endfunction()

ovs_header_library(ovs_json nlohmann)
ovs_header_library(ovs_cli11 CLI)

# Mail transport, archives and XML: Debian's libraries natively; for Windows static ones that scripts/windows-libraries.sh
# built.
add_library(ovs_curl INTERFACE)
add_library(ovs_zip INTERFACE)
find_package(pugixml CONFIG REQUIRED)
add_library(ovs_pugixml INTERFACE)
target_link_libraries(ovs_pugixml INTERFACE pugixml::pugixml)
if(WIN32)
  find_package(CURL CONFIG REQUIRED)
  find_package(ZLIB REQUIRED)
  find_package(libzip CONFIG REQUIRED)
  target_link_libraries(ovs_curl INTERFACE CURL::libcurl crypt32)
  target_link_libraries(ovs_zip INTERFACE libzip::zip)
else()
  find_package(CURL REQUIRED)
  target_link_libraries(ovs_curl INTERFACE CURL::libcurl)
  find_library(OVS_LIBZIP zip REQUIRED)
  target_link_libraries(ovs_zip INTERFACE ${OVS_LIBZIP})
endif()

# GoogleTest: built from the sources of Debian's package googletest, with this build's own flags.
if(OVS_TESTS AND NOT EXISTS /usr/src/googletest/CMakeLists.txt)
  message(STATUS "Without tests: /usr/src/googletest is missing (scripts/setup.sh test installs it)")
  set(OVS_TESTS OFF)
endif()
if(OVS_TESTS)
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  set(gtest_force_shared_crt ON)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
