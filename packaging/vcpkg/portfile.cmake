# SPDX-License-Identifier: Apache-2.0
# An overlay port, which builds the tree that it lies in:
#   vcpkg install kelvane --overlay-ports=packaging/vcpkg
get_filename_component(SOURCE_PATH "${CURRENT_PORT_DIR}/../.." ABSOLUTE)

message(STATUS "kelvane needs libudev of the system, which vcpkg does not have: apt-get install libudev-dev")

vcpkg_check_features(OUT_FEATURE_OPTIONS features
  FEATURES
    modules KELVANE_BUILD_MODULES
    tool KELVANE_BUILD_TOOL)
vcpkg_find_acquire_program(PKGCONFIG)

vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    ${features}
    -DKELVANE_BUILD_QT=OFF
    -DKELVANE_BUILD_TESTS=OFF
    -DKELVANE_BUILD_EXAMPLES=OFF
    -DKELVANE_WERROR=OFF
    "-DPKG_CONFIG_EXECUTABLE=${PKGCONFIG}")
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Kelvane CONFIG_PATH lib/cmake/Kelvane)
vcpkg_fixup_pkgconfig()
if("tool" IN_LIST FEATURES)
  vcpkg_copy_tools(TOOL_NAMES kelvane AUTO_CLEAN)
  vcpkg_replace_string("${CURRENT_PACKAGES_DIR}/share/Kelvane/KelvaneConfig.cmake" "/bin/kelvane" "/tools/kelvane/kelvane")
endif()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(INSTALL "${CURRENT_PORT_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
