# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where: the library, its public headers, and the package that find_package(Kelvane) finds.
include(CMakePackageConfigHelpers)

set(KELVANE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvane)
configure_package_config_file(cmake/KelvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake
  INSTALL_DESTINATION ${KELVANE_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)

install(TARGETS kelvane EXPORT KelvaneTargets FILE_SET HEADERS)
install(EXPORT KelvaneTargets NAMESPACE Kelvane:: DESTINATION ${KELVANE_PACKAGE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake ${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake
  cmake/KelvaneDecoder.cmake
  DESTINATION ${KELVANE_PACKAGE_DIR})
