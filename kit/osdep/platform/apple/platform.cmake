target_link_libraries(qvkit PUBLIC "-framework Carbon" "-framework CoreFoundation")
# Old calls, but those that this library's contract is written in.
file(GLOB apple_sources "${CMAKE_CURRENT_LIST_DIR}/*.cpp")
set_property(SOURCE ${apple_sources} APPEND PROPERTY
  COMPILE_OPTIONS -Wno-deprecated-declarations)
