# SPDX-License-Identifier: Apache-2.0
# Debian packages of the installed components, made by script/package. CPack finds what programs and libraries link
# (dpkg-shlibdeps); what a package is for stands here.
find_program(KELVANE_GZIP gzip REQUIRED)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelvane)
# Each package has its own; CPack puts any other before them.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "kelvane built using CMake")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Kelvane maintainers <maintainers@kelvane.invalid>" CACHE STRING
  "Who answers for the packages; a distributor names himself here")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development modules tool)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/bin)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/KelvaneDebianTrigger.cmake)

# What dpkg wants beside the files of every package.
set(documents ${PROJECT_BINARY_DIR}/debian)
execute_process(COMMAND ${KELVANE_GZIP} -9nc ${PROJECT_SOURCE_DIR}/packaging/debian/changelog
  OUTPUT_FILE ${documents}-changelog.gz COMMAND_ERROR_IS_FATAL ANY)
file(READ packaging/debian/changelog changelog LIMIT 200)
if(NOT changelog MATCHES "^kelvane \\(${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}\\)")
  message(FATAL_ERROR "packaging/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()

# kelvane_debian_package(COMPONENT PACKAGE SECTION DESCRIPTION [FIELD VALUE]…)
function(kelvane_debian_package component package section description)
  string(TOUPPER ${component} upper)
  set(fields NAME "${package}" SECTION "${section}" ${ARGN})
  while(fields)
    list(POP_FRONT fields field value)
    set(CPACK_DEBIAN_${upper}_PACKAGE_${field} "${value}" PARENT_SCOPE)
  endwhile()
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
  install(FILES packaging/debian/copyright DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
  install(FILES ${documents}-changelog.gz DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} RENAME changelog.Debian.gz
    COMPONENT ${component})
endfunction()

set(about "Kelvane is a C++20 library for desktop applications that manage phones
and tablets: tasks that can be watched and cancelled, records of songs,
films and photos and the readers that fill them, lists that know what has
changed, SQLite and file copies that tell how far they are.")

kelvane_debian_package(runtime libkelvane${PROJECT_VERSION_MAJOR} libs
  "library for applications that manage phones and tablets
${about}
.
This package has the shared library."
  RECOMMENDS kelvane-modules
  CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)

kelvane_debian_package(development libkelvane-dev libdevel
  "applications that manage phones and tablets, development files
${about}
.
This package has what programs are built with: headers, and what CMake and
pkg-config find. No headers of other libraries are needed."
  SUGGESTS kelvane-modules)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)

kelvane_debian_package(modules kelvane-modules libs
  "modules of the Kelvane library for films and HEIC photos
${about}
.
This package has the modules that the library loads when it first needs
them: the decoder of HEIC photos, and the reader of films and the rarer
picture formats. The library runs without them."
  ENHANCES libkelvane${PROJECT_VERSION_MAJOR})

kelvane_debian_package(tool kelvane utils
  "copies media to devices and keeps their library
Copies songs, films and photos to a mounted phone, tablet or player and
remembers them in the device's library. A second run copies only what is
new; whatever interrupts a run, the next one finishes the job.
.
Also shows what media files are and have in them, takes out their artwork,
converts HEIC photos to JPEG, and lists the devices that are plugged in."
  RECOMMENDS kelvane-modules)
set(CPACK_COMPONENT_TOOL_DEPENDS runtime)

include(CPack)
