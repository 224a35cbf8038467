# What an installation holds. The library opens its neighbours in its own directory: they share one.
include(CMakePackageConfigHelpers)

install(TARGETS qvsslinit EXPORT qvsslinit
  LIBRARY DESTINATION "${QV_INSTALL_LIBDIR}"
  INCLUDES DESTINATION "${QV_INSTALL_INCLUDEDIR}")
install(FILES include/qvsslinit.h DESTINATION "${QV_INSTALL_INCLUDEDIR}")
set(plugins qv_traceengine)
if(TARGET openssl_crypto_adapter)
  list(APPEND plugins openssl_crypto_adapter openssl_ssl_adapter)
endif()
install(TARGETS ${plugins} LIBRARY DESTINATION "${QV_INSTALL_LIBDIR}")

# For those who write an engine. The headers keep their folders, by which they include one another.
set(sdk_headers "${QV_INSTALL_INCLUDEDIR}/qvsslinit-engine")
install(TARGETS qvsslinit_engine_sdk EXPORT qvsslinit INCLUDES DESTINATION "${sdk_headers}")
install(TARGETS qvkit qvini EXPORT qvsslinit ARCHIVE DESTINATION "${QV_INSTALL_LIBDIR}/qvsslinit")
foreach(header IN ITEMS
    kit/AbsTime.h kit/AddFileAndLineInfo.h kit/BufferStrategy.h kit/DLLAlloc.h kit/DLLObject.h
    kit/IRefCounted.h kit/NumericCast.h kit/SafeInteger.h kit/StatusChain.h kit/StringBase.h
    kit/Vector.h kit/exception/BufferOverflow.h kit/exception/DeserializationError.h
    kit/exception/Exception.h kit/exception/OutOfRange.h kit/little_endian.h
    source/client/ITraceEngine.h source/utils/LoggingBlock.h)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES "${header}" DESTINATION "${sdk_headers}/${folder}")
endforeach()

set(package "${QV_INSTALL_LIBDIR}/cmake/qvsslinit")
install(EXPORT qvsslinit NAMESPACE qvsslinit:: FILE qvsslinitTargets.cmake DESTINATION "${package}")
configure_package_config_file(cmake/qvsslinitConfig.cmake.in "${PROJECT_BINARY_DIR}/qvsslinitConfig.cmake"
  INSTALL_DESTINATION "${package}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qvsslinitConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qvsslinitConfig.cmake"
  "${PROJECT_BINARY_DIR}/qvsslinitConfigVersion.cmake" DESTINATION "${package}")

set(pkgconfig "${QV_INSTALL_LIBDIR}/pkgconfig")
qv_installed_path(QV_PKGCONFIG_PREFIX "${pkgconfig}" ".")
cmake_path(NORMAL_PATH QV_PKGCONFIG_PREFIX)
string(REGEX REPLACE "/$" "" QV_PKGCONFIG_PREFIX "${QV_PKGCONFIG_PREFIX}")
if(NOT IS_ABSOLUTE "${QV_PKGCONFIG_PREFIX}")
  string(PREPEND QV_PKGCONFIG_PREFIX "\${pcfiledir}/")
endif()
set(QV_PKGCONFIG_INCLUDEDIR "${QV_INSTALL_INCLUDEDIR}")
if(NOT IS_ABSOLUTE "${QV_PKGCONFIG_INCLUDEDIR}")
  string(PREPEND QV_PKGCONFIG_INCLUDEDIR "\${prefix}/")
endif()
foreach(file IN ITEMS qvsslinit.pc qvsslinit-engine.pc)
  configure_file("cmake/${file}.in" "${PROJECT_BINARY_DIR}/${file}" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${file}" DESTINATION "${pkgconfig}")
endforeach()

foreach(tool IN ITEMS qvsslinit-doctor qvsslinit-cert)
  if(TARGET ${tool})
    install(TARGETS ${tool} RUNTIME DESTINATION "${QV_INSTALL_BINDIR}")
  endif()
endforeach()

file(GLOB pages CONFIGURE_DEPENDS man/*.[358])
foreach(page IN LISTS pages)
  cmake_path(GET page STEM program)
  cmake_path(GET page EXTENSION LAST_ONLY section)
  if(section STREQUAL ".8" AND NOT TARGET "${program}")
    continue()
  endif()
  string(REPLACE "." "man" section "${section}")
  install(FILES "${page}" DESTINATION "${QV_INSTALL_MANDIR}/${section}")
endforeach()
install(FILES README.md CHANGELOG.md SECURITY.md LICENSE DESTINATION "${QV_INSTALL_DOCDIR}")
# What is there to be read, and not what tools leave beside it.
file(GLOB_RECURSE documents CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
  docs/*.md docs/*.svg examples/*.c examples/*.cpp examples/*.h examples/*.js examples/*.py)
list(FILTER documents EXCLUDE REGEX "/(build|node_modules|CMakeFiles)/")
foreach(document IN LISTS documents)
  cmake_path(GET document PARENT_PATH folder)
  install(FILES "${document}" DESTINATION "${QV_INSTALL_DOCDIR}/${folder}")
endforeach()
