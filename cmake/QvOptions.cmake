# One interface target carries what all of our code is compiled with.
set(QV_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them")

# For those who work on the sources: another compiler may warn of more.
option(QV_WARNINGS_AS_ERRORS "Let what the compiler warns of break the build, as the presets do" OFF)

add_library(qv_options INTERFACE)
target_compile_features(qv_options INTERFACE cxx_std_17 c_std_99)
target_include_directories(qv_options INTERFACE "${PROJECT_SOURCE_DIR}")
# Files of 2 GiB and more, and files and clocks of 2038 and later, are what they are on 32-bit systems
# too.
target_compile_definitions(qv_options INTERFACE
  "$<$<EQUAL:${CMAKE_SIZEOF_VOID_P},4>:_FILE_OFFSET_BITS=64;_TIME_BITS=64>")
target_compile_options(qv_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion $<$<BOOL:${QV_WARNINGS_AS_ERRORS}>:-Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wunused-const-variable=1>
  # Exceptions carry __FILE__: relative to the root, builds are the same wherever they are made.
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_package(Threads REQUIRED)
target_link_libraries(qv_options INTERFACE Threads::Threads)

if(QV_SANITIZE)
  target_compile_options(qv_options INTERFACE
    "-fsanitize=${QV_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer
    # Functions that are looked up by name are called by types of our own, without OpenSSL's headers.
    $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  target_link_options(qv_options INTERFACE "-fsanitize=${QV_SANITIZE}")
endif()

# What runs is counted in files of build/NAME/profiles. %c maps them into the processes, so that the
# counters of one that is killed are not lost; %m gives each program and library its own, which its
# processes and threads share: what is not counted in one step goes wrong.
option(QV_COVERAGE "Count which lines and branches run, which needs clang" OFF)
if(QV_COVERAGE)
  target_compile_options(qv_options INTERFACE
    "-fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%c%m.profraw"
    -fcoverage-mapping -fprofile-update=atomic "SHELL:-mllvm -runtime-counter-relocation")
  target_link_options(qv_options INTERFACE -fprofile-instr-generate)
endif()
