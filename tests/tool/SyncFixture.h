// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ToolProcess.h"

#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace kelvane::testsupport {

using Json = nlohmann::json;

/// A folder of sources and a device, both empty at first, and what can be asked about them.
class SyncFixture : public testing::Test {
protected:
    void SetUp() override;

    [[nodiscard]] std::string source() const { return _folder.path("source").string(); }
    [[nodiscard]] std::string device() const { return _folder.path("device").string(); }
    [[nodiscard]] std::string source(const std::string &name) const { return source() + '/' + name; }
    [[nodiscard]] std::string device(const std::string &name) const { return device() + '/' + name; }
    [[nodiscard]] std::string folder(const std::string &name) const { return _folder.path(name).string(); }

    /// Puts a copy of one of the real files (see make-media.sh) into the sources, and gives its path.
    std::string addMedia(const std::string &sample, const std::string &name) const;
    /// Puts one file of each kind there.
    void addAllKinds() const;
    /// Puts `count` songs there, each different from the others.
    void addSongs(int count) const;
    static void write(const std::string &path, const std::string &content);
    [[nodiscard]] static std::string read(const std::string &path);

    ToolResult sync(std::vector<std::string> options = {}, const ToolOptions &process = {}) const;
    /// The objects of a JSON output; each line must be one.
    [[nodiscard]] static std::vector<Json> parse(const ToolResult &result);
    /// The last object of a sync with --json.
    [[nodiscard]] Json summaryOfSync(std::vector<std::string> options = {}) const;
    /// The device's library, source by source.
    [[nodiscard]] std::map<std::string, Json> library() const;
    /// All files of the device but those of the library itself and the pictures of its items, relative to it.
    [[nodiscard]] std::vector<std::string> deviceFiles() const;
    /// Every file in the sources has one row and one identical copy; nothing else is on the device.
    void expectComplete() const;
    /// The media files in the sources.
    [[nodiscard]] std::vector<std::string> sourceFiles() const;

private:
    TemporaryFolder _folder;
};

} // namespace kelvane::testsupport
