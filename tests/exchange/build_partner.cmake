# Builds the program of the exchange in the tree of preset "default", which is configured if nobody
# has done so yet: cmake -D ROOT=<root of the sources> -P build_partner.cmake
set(run COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY WORKING_DIRECTORY "${ROOT}")
if(NOT EXISTS "${ROOT}/build/default/CMakeCache.txt")
  execute_process(COMMAND "${CMAKE_COMMAND}" --preset default ${run})
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build --preset default --target width_exchange ${run})
