// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kelvane::testsupport {

/// A fresh, empty folder that is removed with everything in it when the object goes.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "kelvane-test-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("cannot make a folder like " + pattern);
        _path = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    /// The folder, without a slash at the end.
    [[nodiscard]] const std::filesystem::path &path() const noexcept { return _path; }
    [[nodiscard]] String string() const { return _path.native(); }
    /// Where `name` is or would be in the folder.
    [[nodiscard]] std::filesystem::path path(std::string_view name) const { return _path / name; }
    [[nodiscard]] String string(std::string_view name) const { return path(name).native(); }

private:
    std::filesystem::path _path;
};

} // namespace kelvane::testsupport
