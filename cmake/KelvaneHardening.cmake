# SPDX-License-Identifier: Apache-2.0
# What makes a mistake in our code harder to exploit: the one place for it, and for everything that this project builds. A
# project that this one is a part of, and programs that link the library, inherit none of it. tests/packages/hardening
# looks for it in the binaries.
if(NOT KELVANE_HARDENING)
  return()
endif()

# Executables are position independent, too; the check lets CMake pass the linker's flag for it. What it finds is kept
# where a project that this one is a part of would find it, so that one decides for itself.
if(PROJECT_IS_TOP_LEVEL)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Checked access to the containers of the standard library, in every build: an index beyond the end ends the program.
add_compile_definitions(_GLIBCXX_ASSERTIONS)
add_compile_options(-fstack-protector-strong)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
  add_compile_options(-fcf-protection -fstack-clash-protection)
endif()

# Checked copies need to know the sizes of things, which only an optimised build does. Sanitizers look closer themselves,
# and the checked functions would hide from them what is copied. A system's own level is replaced, not added to.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=3>)
endif()

# What the loader resolves, it resolves before main() and then makes read-only; no stack is executable.
if(NOT APPLE)
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
