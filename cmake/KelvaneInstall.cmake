# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where: the library, its public headers, and what
# find_package(Kelvane) and pkg-config find.
include(CMakePackageConfigHelpers)

# What a static library leaves to the program that links it, in the words of the package and of pkg-config.
get_property(uses GLOBAL PROPERTY KELVANE_USES)
foreach(use IN LISTS uses)
  string(REGEX MATCH "^([^ ]+) (.*)$" use "${use}")
  set(modules ${CMAKE_MATCH_2})
  string(APPEND KELVANE_PACKAGE_USES
    "  pkg_check_modules(${CMAKE_MATCH_1} REQUIRED IMPORTED_TARGET ${modules})\n")
  string(REGEX REPLACE ">=([^ ]+)" " >= \\1" modules "${modules}")
  string(REPLACE " " ";" modules "${modules}")
  string(REPLACE ";>=;" " >= " modules "${modules}")
  list(APPEND KELVANE_PC_USES ${modules})
endforeach()
list(JOIN KELVANE_PC_USES ", " KELVANE_PC_USES)

set(KELVANE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvane)
configure_package_config_file(cmake/KelvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake
  INSTALL_DESTINATION ${KELVANE_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)

# kelvane.pc finds its prefix from its own folder, because `cmake --install --prefix` may choose another than configuring did.
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(KELVANE_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(KELVANE_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
file(RELATIVE_PATH KELVANE_PC_UP ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KELVANE_PC_UP "${KELVANE_PC_UP}")
list(TRANSFORM CMAKE_DL_LIBS PREPEND -l OUTPUT_VARIABLE KELVANE_PC_DL)
if(NOT BUILD_SHARED_LIBS)
  set(KELVANE_PC_STATIC " -DKELVANE_STATIC")
endif()
configure_file(cmake/kelvane.pc.in kelvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kelvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS kelvane EXPORT KelvaneTargets FILE_SET HEADERS)
install(EXPORT KelvaneTargets NAMESPACE Kelvane:: DESTINATION ${KELVANE_PACKAGE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake ${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake
  cmake/KelvaneDecoder.cmake
  DESTINATION ${KELVANE_PACKAGE_DIR})
