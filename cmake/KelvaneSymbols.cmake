# SPDX-License-Identifier: Apache-2.0
# What the library shows to the programs that link it: what KELVANE_EXPORT marks, under one version for each major version
# of the library. Copies of standard templates that the compiler made for us stay inside.
get_target_property(type kelvane TYPE)
if(type STREQUAL "SHARED_LIBRARY")
  if(NOT APPLE)
    configure_file(cmake/kelvane.map.in kelvane.map @ONLY)
    target_link_options(kelvane PRIVATE LINKER:--version-script=${PROJECT_BINARY_DIR}/kelvane.map)
    set_property(TARGET kelvane APPEND PROPERTY LINK_DEPENDS ${PROJECT_BINARY_DIR}/kelvane.map)
  endif()
else()
  # A static library shows nothing of itself in the programs and libraries that it becomes part of.
  target_compile_definitions(kelvane PUBLIC KELVANE_STATIC)
endif()
