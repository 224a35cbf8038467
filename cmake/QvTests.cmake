include(GoogleTest)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  find_package(GTest REQUIRED)
else()
  # Debian's library is built for the machine's own width; its sources are packaged for any other.
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
  target_compile_options(gtest PRIVATE -O0)
  target_compile_options(gmock PRIVATE -O0)
endif()

# Precompiled once, for it is most of what compiling a test costs.
add_library(qv_test_main STATIC "${PROJECT_SOURCE_DIR}/tests/main.cpp")
target_link_libraries(qv_test_main PUBLIC qv_options GTest::gmock)
# Tests are compiled without optimization: they are many, and what they test is optimized. Library
# and programs must agree on position-independent code to share the precompiled header.
target_compile_options(qv_test_main PUBLIC -O0 -fPIC)
# g++ does not ask the first of tests either; the second is how googletest's own macros are used.
target_compile_options(qv_test_main PUBLIC
  $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
target_precompile_headers(qv_test_main PRIVATE <gmock/gmock.h> <gtest/gtest.h>)

# qv_add_tests(NAME LABEL label DIRECTORIES dir... LIBRARIES library... [EXTRA_SOURCES file...]
#   [TOGETHER])
# Builds every *_test.cpp of the directories (relative to tests/) into one program and registers
# each TEST as a ctest test of its own. TOGETHER says that the tests leave nothing behind in their
# process: then the program is one ctest test, for thousands of processes cost more than the tests,
# except where what ran is counted, which is in the way of some.
# One of them is run by NAME --gtest_filter=SUITE.TEST.
function(qv_add_tests name)
  cmake_parse_arguments(ARG "TOGETHER" "LABEL" "DIRECTORIES;LIBRARIES;EXTRA_SOURCES" ${ARGN})
  set(sources)
  foreach(directory IN LISTS ARG_DIRECTORIES)
    file(GLOB found CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${directory}/*_test.cpp")
    list(APPEND sources ${found})
  endforeach()
  add_executable(${name} ${sources} ${ARG_EXTRA_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} qv_test_main)
  target_precompile_headers(${name} REUSE_FROM qv_test_main)
  # Templates that many sources of one program use are compiled once for eight of them. To the
  # compiler they are then included files, where it has more to say of classes without linkage.
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  if(ARG_TOGETHER AND NOT QV_COVERAGE)
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    # The longest first, so that nobody waits for them at the end.
    set_tests_properties(${name} PROPERTIES LABELS ${ARG_LABEL} COST 100)
  else()
    set(cost 0)
    if(ARG_LABEL MATCHES "^(exhaustive|fault)$")
      set(cost 90)
    endif()
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
      PROPERTIES LABELS ${ARG_LABEL} COST ${cost})
  endif()
endfunction()
