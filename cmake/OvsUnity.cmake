# Compiles the sources of one folder as one (OVS_UNITY): most of a compiler's time goes into headers, which are then read once.
# Everything that builds the whole tree does so. For work on a few files, the preset native-debug compiles each file alone,
# and scripts/check.sh shows that every file can be.
#
# Files of a folder must not share a name in their unnamed namespaces. Where each file has something of its own under the same
# name by habit, that name is listed here and stands, in the joint source, for one with the file's own ending.
option(OVS_UNITY "Compile the sources of a folder together" OFF)
set(OVS_NAMES_PER_FILE kModule kSeparator kChunk kDefault Case)

set(code "#define OVS_JOIN_NOW(a, b) a##b\n#define OVS_JOIN(a, b) OVS_JOIN_NOW(a, b)\n")
foreach(name ${OVS_NAMES_PER_FILE})
  string(APPEND code "#define ${name} OVS_JOIN(${name}_, OVS_FILE)\n")
endforeach()
set(OVS_UNITY_CODE "${code}")

# ovs_join(TARGET [ACROSS_FOLDERS] [ALONE NAME...]): the named files, without folder and ending, are compiled each for itself.
# ACROSS_FOLDERS joins all other files of the target but those of one system's folders.
function(ovs_join target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "ACROSS_FOLDERS" "" "ALONE")
  if(NOT OVS_UNITY)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  foreach(source ${sources})
    cmake_path(GET source STEM name)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(RELATIVE_PATH folder BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
    string(MAKE_C_IDENTIFIER "${folder}" group)
    if(arg_ACROSS_FOLDERS AND NOT folder MATCHES "/${OVS_OS}")
      set(group ${target})
    endif()
    if(source MATCHES "[.]cpp$" AND NOT name IN_LIST arg_ALONE)
      set_property(SOURCE ${source} PROPERTY UNITY_GROUP ${group})
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP UNITY_BUILD_UNIQUE_ID OVS_FILE
                        UNITY_BUILD_CODE_BEFORE_INCLUDE "${OVS_UNITY_CODE}")
endfunction()
