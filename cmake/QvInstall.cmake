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
  INSTALL_DESTINATION "${package}" NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qvsslinitConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qvsslinitConfig.cmake"
  "${PROJECT_BINARY_DIR}/qvsslinitConfigVersion.cmake" DESTINATION "${package}")

set(pkgconfig "${QV_INSTALL_LIBDIR}/pkgconfig")
qv_installed_path(QV_PKGCONFIG_INCLUDEDIR "${pkgconfig}" "${QV_INSTALL_INCLUDEDIR}")
if(NOT IS_ABSOLUTE "${QV_PKGCONFIG_INCLUDEDIR}")
  string(PREPEND QV_PKGCONFIG_INCLUDEDIR "\${pcfiledir}/")
endif()
configure_file(cmake/qvsslinit.pc.in "${PROJECT_BINARY_DIR}/qvsslinit.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qvsslinit.pc" DESTINATION "${pkgconfig}")

foreach(tool IN ITEMS qvsslinit-doctor qvsslinit-cert)
  if(TARGET ${tool})
    install(TARGETS ${tool} RUNTIME DESTINATION "${QV_INSTALL_BINDIR}")
  endif()
endforeach()

file(GLOB pages CONFIGURE_DEPENDS man/*.[358])
foreach(page IN LISTS pages)
  cmake_path(GET page EXTENSION LAST_ONLY section)
  string(REPLACE "." "man" section "${section}")
  install(FILES "${page}" DESTINATION "${QV_INSTALL_MANDIR}/${section}")
endforeach()
install(FILES README.md CHANGELOG.md SECURITY.md LICENSE DESTINATION "${QV_INSTALL_DOCDIR}")
install(DIRECTORY docs DESTINATION "${QV_INSTALL_DOCDIR}"
  PATTERN Doxyfile EXCLUDE PATTERN "*.dot" EXCLUDE PATTERN "*.dox" EXCLUDE)
install(DIRECTORY examples DESTINATION "${QV_INSTALL_DOCDIR}"
  PATTERN CMakeLists.txt EXCLUDE PATTERN .clang-tidy EXCLUDE)
