// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>

namespace browser {

/// Runs `kelvane sync --json` from a folder to a device's, and follows its events: steps named after the files, progress
/// over all of them. A cancel asks the command to end, which leaves the device's library whole.
class SyncTask : public kelvane::AsyncTaskIOS {
public:
    /// `count` is the number of files to expect.
    SyncTask(kelvane::String command, kelvane::String folder, kelvane::String device, int count);

    bool onWork() override;

private:
    void follow(const std::string &line);
    void report(int percentOfFile);

    const kelvane::String _command;
    const kelvane::String _folder;
    const kelvane::String _device;
    const int _count;
    int _done = 0;
    kelvane::String _firstFailure;
};

} // namespace browser
