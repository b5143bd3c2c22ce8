// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CrashPlan.h"

#include <tests/tool/SyncFixture.h>

#include <functional>
#include <map>

namespace kelvane::testsupport {

/// All files of a folder and those below it, by their path from it.
using FolderContent = std::map<std::string, std::string>;
[[nodiscard]] FolderContent contentOf(const std::string &folder);

/// With the times of its files, which a plain copy has not.
void copyFolder(const std::string &from, const std::string &to);

/// An operation on a folder, ended at its write boundaries: by a kill, which leaves what was written, and by the power
/// going out, which leaves what PowerLoss says.
class CrashFixture : public SyncFixture {
protected:
    struct Operation {
        std::string name;
        std::string folder; // is as it should be at the beginning
        std::vector<std::string> program;
        /// After an end at any moment: what must hold before anything is repaired.
        std::function<void()> expectConsistent;
        /// Runs the operation anew, and looks at what it leaves.
        std::function<void()> expectRecovery;
    };

    /// Kills the operation just before each of its calls, or some of them.
    void killEverywhere(const Operation &operation);
    /// Takes the power away after each of its calls, or some of them.
    void losePowerEverywhere(const Operation &operation);

    [[nodiscard]] const CrashPlan &plan() const { return _plan; }
    /// Program of one of the library's operations.
    [[nodiscard]] static std::vector<std::string> library(const std::string &operation, const std::string &file)
    {
        return {KELVANE_CRASH_OPERATIONS, operation, file};
    }

private:
    void restore(const Operation &operation) const;
    void look(const Operation &operation, const std::string &where) const;

    const CrashPlan _plan;
    TemporaryFolder _kept; // what the operation's folder was
};

} // namespace kelvane::testsupport
