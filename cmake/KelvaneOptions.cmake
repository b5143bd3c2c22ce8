# SPDX-License-Identifier: Apache-2.0
# What the build can be asked for, and what all of our own targets are compiled with. Everything here is private to
# this project: a program that links kelvane inherits none of it.

# As part of another project, that project's BUILD_SHARED_LIBS counts, or CMake's default, a static library.
if(PROJECT_IS_TOP_LEVEL)
  option(BUILD_SHARED_LIBS "Build libkelvane as a shared library" ON)
endif()
option(KELVANE_BUILD_MODULES "Build the modules that the library loads: libheif.dylib and libkelvane-media.so" ON)
option(KELVANE_BUILD_TOOL "Build the kelvane command" ${PROJECT_IS_TOP_LEVEL})
set(qt OFF)
if(PROJECT_IS_TOP_LEVEL)
  set(qt AUTO)
endif()
set(KELVANE_BUILD_QT ${qt} CACHE STRING "Build Kelvane::qt, for programs with a Qt 6 window: ON, OFF, or AUTO if Qt is there")
set_property(CACHE KELVANE_BUILD_QT PROPERTY STRINGS AUTO ON OFF)
option(KELVANE_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(KELVANE_BUILD_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(KELVANE_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(KELVANE_INSTALL "Install the library, and the package that finds it" ${PROJECT_IS_TOP_LEVEL})
option(KELVANE_HARDENING "Build with the checks of the compiler and linker that harden the binaries" ON)
option(KELVANE_WERROR "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})
option(KELVANE_BUILD_FUZZERS "Build the fuzz targets with libFuzzer, which takes clang" OFF)
option(KELVANE_DEBIAN_PACKAGES "Prepare Debian packages: script/package makes them" OFF)
set(KELVANE_SAMPLES "${PROJECT_SOURCE_DIR}/../shared/testdata" CACHE PATH
  "Folder of media files made by others, which tests read in place; they are skipped where it is absent")

if(KELVANE_BUILD_TESTS AND NOT KELVANE_BUILD_MODULES)
  message(FATAL_ERROR "the tests need the modules: set KELVANE_BUILD_TESTS to OFF or KELVANE_BUILD_MODULES to ON")
endif()
if(KELVANE_INSTALL OR KELVANE_BUILD_TOOL)
  include(GNUInstallDirs)
endif()

set(KELVANE_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# g++ 12 sees overlapping copies in an inlined `"text" + std::string` when it optimises; later versions do not.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  list(APPEND KELVANE_WARNINGS $<$<NOT:$<CONFIG:Debug>>:-Wno-restrict>)
endif()
if(KELVANE_WERROR)
  list(APPEND KELVANE_WARNINGS -Werror)
endif()

set(CMAKE_CXX_EXTENSIONS OFF)
if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
  if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
  endif()

  find_program(KELVANE_CCACHE ccache)
  mark_as_advanced(KELVANE_CCACHE)
  if(KELVANE_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KELVANE_CCACHE})
  endif()
endif()

# kelvane_sources(HEADERS a.h… LISTS a.def… SOURCES a.cpp…): adds a subsystem's files, named relative to its folder, to the
# library. Headers named here are public and installed; private ones (*_p.h, detail/ of a subsystem's own) are not named.
# Lists are what public headers include with a macro for each line, so that they mean nothing alone.
function(kelvane_sources)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "" "HEADERS;LISTS;SOURCES")
  list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  list(TRANSFORM ARG_LISTS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  list(TRANSFORM ARG_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(kelvane PRIVATE ${ARG_SOURCES}
    PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS}
    PUBLIC FILE_SET lists TYPE HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_LISTS})
endfunction()

# kelvane_uses(PREFIX MODULE…): links the library with what pkg-config knows as MODULE, which its users need not have
# headers of. Kept for those who link it statically: they need the same libraries. What is found is named KELVANE_PREFIX,
# because a parent project may look for the same library with another version, or by other means.
function(kelvane_uses prefix)
  set(prefix KELVANE_${prefix})
  pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET GLOBAL ${ARGN})
  target_link_libraries(kelvane PRIVATE PkgConfig::${prefix})
  list(JOIN ARGN " " modules)
  set_property(GLOBAL APPEND PROPERTY KELVANE_USES "${prefix} ${modules}")
endfunction()
