// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FaultTest.h"

#include <tests/tool/SyncFixture.h>

namespace kelvane::testsupport {

/// A folder of sources, a device, and the device as it is at the begin of each run.
class ToolFaults : public FaultTest {
protected:
    ToolFaults();

    /// The device of `before` comes back.
    void reset() const;
    /// Brings the sources to the device that every run begins with.
    void prepareDevice() const;

    /// Tries `arguments`, with each call failing; see FaultSubject. `wrong` gets what the run said as well.
    void tryTool(const std::vector<std::string> &arguments,
        const std::function<std::string(const ToolResult &, bool isDone)> &wrong, std::uint64_t most = 2);

    /// The same of a command that only tells: what it says with success is what it says without a fault.
    void expectSameOutput(std::vector<std::string> arguments);

    /// What is wrong with the device, where everything of `source` must be on it if `isDone`.
    [[nodiscard]] std::string wrongDevice(bool isDone) const;

    TemporaryFolder folder;
    std::filesystem::path source = folder.path("source");
    std::filesystem::path before = folder.path("before");
    std::filesystem::path device = folder.path("device");
    std::filesystem::path out = folder.path("out");
    std::vector<std::string> old; // contents of files that only the device has
    bool mayBeDoneAlready = false; // the next run may find nothing to do, and say so as a failure
    bool mayLeaveNames = false; // of library files that the disk did not let go; the next run lets them go

private:
    using Wrong = std::function<std::string(const ToolResult &, bool isDone)>;

    [[nodiscard]] ToolResult runWith(const std::vector<std::string> &arguments, std::uint64_t call);
    [[nodiscard]] std::string judge(const ToolResult &result, bool isHit, const Wrong &wrong) const;
    [[nodiscard]] std::string tryCall(
        const std::vector<std::string> &arguments, std::uint64_t call, const Wrong &wrong);

    SharedReport report;
};

inline bool isJpeg(const std::string &bytes)
{
    return bytes.starts_with("\xff\xd8") && bytes.ends_with("\xff\xd9");
}

} // namespace kelvane::testsupport
