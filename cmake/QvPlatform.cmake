# What the code demands of its platform, checked before anything is compiled, and which
# implementation of the platform seams is built.
include(CheckTypeSize)

set(CMAKE_EXTRA_INCLUDE_FILES wchar.h)
check_type_size(wchar_t QV_WCHAR_SIZE LANGUAGE CXX)
unset(CMAKE_EXTRA_INCLUDE_FILES)
if(NOT QV_WCHAR_SIZE EQUAL 4)
  message(FATAL_ERROR "wchar_t is ${QV_WCHAR_SIZE} bytes wide; wide text here is UTF-32 and needs 4")
endif()

set(platform generic)
if(APPLE)
  set(platform apple)
endif()
set(QV_PLATFORM ${platform} CACHE STRING
  "Implementation of the platform seams: a folder of kit/osdep/platform")
if(NOT QV_PLATFORM OR NOT IS_DIRECTORY "${PROJECT_SOURCE_DIR}/kit/osdep/platform/${QV_PLATFORM}")
  message(FATAL_ERROR
    "QV_PLATFORM is '${QV_PLATFORM}', which is no folder of kit/osdep/platform: see docs/porting.md")
endif()

set(QV_DYNAMIC_LIBRARY_SUFFIX ".dylib" CACHE STRING
  "Suffix that a bare library name gets on its way to the dynamic loader")
