# SPDX-License-Identifier: Apache-2.0
# Run by CPack when it has made the packages. It gives a package with a shared library two scripts that call ldconfig;
# Debian has a trigger for that, which the package has too, and packages without scripts install into any folder.
find_program(DPKG_DEB dpkg-deb REQUIRED)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder ${package}.folder)
  execute_process(COMMAND ${DPKG_DEB} -R ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${folder}/DEBIAN/triggers)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    execute_process(COMMAND ${DPKG_DEB} --root-owner-group -b ${folder} ${package} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endif()
  file(REMOVE_RECURSE ${folder})
endforeach()
