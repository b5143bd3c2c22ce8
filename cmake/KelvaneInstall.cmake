# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where, in five components: runtime, development (headers, and what
# find_package(Kelvane) and pkg-config find), modules, tool, and, where it is built, qt.
include(CMakePackageConfigHelpers)

set(KELVANE_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/kelvane)
set(KELVANE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvane)

# What a static library leaves to the program that links it, in the words of the package and of pkg-config. Programs that
# link the shared one need not even have these libraries' development files.
get_target_property(type kelvane TYPE)
if(type STREQUAL "STATIC_LIBRARY")
  set(KELVANE_PC_STATIC " -DKELVANE_STATIC")
  list(APPEND KELVANE_PACKAGE_USES "find_dependency(PkgConfig)")
  get_property(uses GLOBAL PROPERTY KELVANE_USES)
  foreach(use IN LISTS uses)
    string(REGEX MATCH "^([^ ]+) (.*)$" use "${use}")
    set(prefix ${CMAKE_MATCH_1})
    set(modules ${CMAKE_MATCH_2})
    list(APPEND KELVANE_PACKAGE_USES
      "pkg_check_modules(${prefix} QUIET IMPORTED_TARGET ${modules})"
      "if(NOT ${prefix}_FOUND)"
      "  set(Kelvane_FOUND FALSE)"
      "  set(Kelvane_NOT_FOUND_MESSAGE \"Kelvane was built as a static library, which needs ${modules}: pkg-config finds no such.\")"
      "  return()"
      "endif()")
    string(REGEX REPLACE ">=([^ ]+)" " >= \\1" modules "${modules}")
    string(REPLACE " " ";" modules "${modules}")
    string(REPLACE ";>=;" " >= " modules "${modules}")
    list(APPEND KELVANE_PC_USES ${modules})
  endforeach()
  list(JOIN KELVANE_PACKAGE_USES "\n" KELVANE_PACKAGE_USES)
  list(JOIN KELVANE_PC_USES ", " KELVANE_PC_USES)
endif()

configure_package_config_file(cmake/KelvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake
  INSTALL_DESTINATION ${KELVANE_PACKAGE_DIR}
  PATH_VARS KELVANE_MODULE_DIR CMAKE_INSTALL_BINDIR
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)

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
set(KELVANE_PC_LINK "Libs: -L\${libdir} -lkelvane")
if(type STREQUAL "STATIC_LIBRARY")
  # Public, so that programs link the same way whichever kind is installed: --static is not needed, and does no harm.
  list(TRANSFORM CMAKE_DL_LIBS PREPEND " -l" OUTPUT_VARIABLE libraries)
  string(APPEND KELVANE_PC_LINK "${libraries} -pthread\nRequires: ${KELVANE_PC_USES}")
endif()
configure_file(cmake/kelvane.pc.in kelvane.pc @ONLY)

install(TARGETS kelvane EXPORT KelvaneTargets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  FILE_SET HEADERS COMPONENT development
  FILE_SET lists COMPONENT development)
install(EXPORT KelvaneTargets NAMESPACE Kelvane:: DESTINATION ${KELVANE_PACKAGE_DIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake ${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake
  cmake/KelvaneModules.cmake
  DESTINATION ${KELVANE_PACKAGE_DIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/kelvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Where the library finds them unless they lie beside the application's executable.
if(KELVANE_BUILD_MODULES)
  install(TARGETS kelvane_decoder kelvane_media LIBRARY DESTINATION ${KELVANE_MODULE_DIR} COMPONENT modules)
endif()

# All of the binding: who builds with it has Qt's development files anyway.
if(TARGET kelvane_qt)
  install(TARGETS kelvane_qt EXPORT KelvaneQtTargets
    RUNTIME COMPONENT qt
    LIBRARY COMPONENT qt
    ARCHIVE COMPONENT qt
    FILE_SET HEADERS COMPONENT qt)
  install(EXPORT KelvaneQtTargets NAMESPACE Kelvane:: DESTINATION ${KELVANE_PACKAGE_DIR} COMPONENT qt)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set_target_properties(kelvane_qt PROPERTIES INSTALL_RPATH "\$ORIGIN")
  endif()
endif()

# The command finds the library from where it is itself, in any prefix; the system's own folders need no path.
if(KELVANE_BUILD_TOOL AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(kelvane_tool PROPERTIES INSTALL_RPATH "\$ORIGIN/${up}")
endif()
