# What `cmake --install` puts in place: the library, the public headers, the packages for CMake and
# pkg-config, and the documentation.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(headers_dir "${CMAKE_INSTALL_INCLUDEDIR}/klb")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/klb")
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS klb EXPORT klbTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT klb_runtime
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT klb_runtime
    NAMELINK_COMPONENT klb_development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT klb_development
  INCLUDES DESTINATION "${headers_dir}")

set(headers klb.h IKLBManager.h)
if(NOT KLB_OBX_INCLUDE_DIR)
  list(APPEND headers obx.h)
endif()
list(TRANSFORM headers PREPEND "${PROJECT_SOURCE_DIR}/xplat/klb/include/")
install(FILES ${headers} DESTINATION "${headers_dir}" COMPONENT klb_development)

if(MINGW)
  # The import library with the names that Microsoft-compatible compilers write.
  install(FILES "$<TARGET_LINKER_FILE_DIR:klb>/klb.lib"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT klb_development OPTIONAL)
endif()
if(PROJECT_IS_TOP_LEVEL AND KLB_WINDOWS_PREFIX)
  install(FILES "${KLB_WINDOWS_PREFIX}/bin/libcrypto-3-x64.dll"
    DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT klb_runtime)
  install(FILES "${KLB_WINDOWS_PREFIX}/LICENSE.txt"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT klb_runtime RENAME OpenSSL-LICENSE.txt)
endif()

install(EXPORT klbTargets NAMESPACE klb::
  DESTINATION "${package_dir}" COMPONENT klb_development)
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/klbConfig.cmake.in" "${PROJECT_BINARY_DIR}/klbConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
  PATH_VARS CMAKE_INSTALL_LIBDIR
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 a new minor version may break hosts.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/klbConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/klbConfig.cmake" "${PROJECT_BINARY_DIR}/klbConfigVersion.cmake"
  DESTINATION "${package_dir}" COMPONENT klb_development)

# The prefix follows from where the file lies, so that an installed tree can be moved.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(KLB_PKGCONFIG_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(KLB_PKGCONFIG_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
  file(RELATIVE_PATH up "/${pkgconfig_dir}" "/")
  string(REGEX REPLACE "/$" "" up "${up}")
  set(KLB_PKGCONFIG_PREFIX "\${pcfiledir}/${up}")
  set(KLB_PKGCONFIG_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${headers_dir}")
  set(KLB_PKGCONFIG_INCLUDEDIR "${headers_dir}")
else()
  set(KLB_PKGCONFIG_INCLUDEDIR "\${prefix}/${headers_dir}")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/klb.pc.in" "${PROJECT_BINARY_DIR}/klb.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/klb.pc"
  DESTINATION "${pkgconfig_dir}" COMPONENT klb_development)

# Not CMAKE_INSTALL_DOCDIR, which is named after the project that embeds this one.
set(documentation_dir "${CMAKE_INSTALL_DATAROOTDIR}/doc/klb")
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
    "${PROJECT_SOURCE_DIR}/SECURITY.md"
  DESTINATION "${documentation_dir}" COMPONENT klb_development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs"
  DESTINATION "${documentation_dir}" COMPONENT klb_development
  FILES_MATCHING PATTERN "*.md")
