# SPDX-License-Identifier: Apache-2.0
# Builds the tree that it lies in: conan create packaging/conan
import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rmdir
from conan.tools.gnu import PkgConfigDeps
from conan.tools.system.package_manager import Apt, Dnf

required_conan_version = ">=2.0"


class KelvaneConan(ConanFile):
    name = "kelvane"
    version = "1.0.0"
    description = "Tasks, media model, storage and device records for applications that manage phones and tablets"
    license = "Apache-2.0"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False], "modules": [True, False], "tool": [True, False]}
    default_options = {"shared": True, "fPIC": True, "modules": True, "tool": False}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "LICENSE", "bindings/*", "cmake/*", "kelvane/*", "module/*", "decoder/*", "tools/*"):
            copy(self, pattern, src=root, dst=self.export_sources_folder)

    def configure(self):
        if self.options.shared:
            self.options.rm_safe("fPIC")

    def layout(self):
        cmake_layout(self)

    def validate(self):
        check_min_cppstd(self, 20)

    def requirements(self):
        # No header of theirs stands in ours.
        hidden = {"transitive_headers": False, "transitive_libs": True}
        self.requires("icu/[>=72 <80]", **hidden)
        self.requires("libexif/[>=0.6.24 <1]", **hidden)
        self.requires("libjpeg-turbo/[>=2.1 <4]", **hidden)
        self.requires("libpng/[>=1.6 <2]", **hidden)
        self.requires("libudev/system", **hidden)
        self.requires("openssl/[>=3 <4]", **hidden)
        self.requires("spdlog/[>=1.10 <2]", **hidden)
        self.requires("sqlite3/[>=3.31 <4]", **hidden)
        self.requires("taglib/[>=1.13 <2]", **hidden)
        self.requires("util-linux-libuuid/[>=2.38 <3]", **hidden)
        self.requires("zlib/[>=1.2.11 <2]", **hidden)
        if self.options.modules:
            self.requires("ffmpeg/[>=5 <7]", visible=False)
            self.requires("libheif/[>=1.15 <2]", visible=False)
        if self.options.tool:
            self.requires("cli11/[>=2.3 <3]", visible=False)
            self.requires("nlohmann_json/[>=3.11 <4]", visible=False)

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.25]")
        self.tool_requires("pkgconf/[>=1.9]")

    def system_requirements(self):
        # The one library that Conan's own index lacks.
        Apt(self).install(["libplist-dev"], check=True)
        Dnf(self).install(["libplist-devel"], check=True)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["KELVANE_BUILD_MODULES"] = bool(self.options.modules)
        toolchain.cache_variables["KELVANE_BUILD_TOOL"] = bool(self.options.tool)
        toolchain.cache_variables["KELVANE_BUILD_QT"] = False
        toolchain.cache_variables["KELVANE_BUILD_TESTS"] = False
        toolchain.cache_variables["KELVANE_BUILD_EXAMPLES"] = False
        toolchain.cache_variables["KELVANE_WERROR"] = False
        toolchain.generate()
        CMakeDeps(self).generate()
        PkgConfigDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", src=self.source_folder, dst=os.path.join(self.package_folder, "licenses"))
        CMake(self).install()
        # Conan writes its own.
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Kelvane")
        self.cpp_info.set_property("cmake_target_name", "Kelvane::kelvane")
        self.cpp_info.set_property("pkg_config_name", "kelvane")
        self.cpp_info.libs = ["kelvane"]
        self.cpp_info.system_libs = ["pthread", "dl"]
        if not self.options.shared:
            self.cpp_info.defines = ["KELVANE_STATIC"]
            self.cpp_info.system_libs.append("plist-2.0")
