// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"
#include "ExitCode.h"
#include "SyncOptions.h"
#include "SyncView.h"

#include <memory>

namespace kelvane::tool {

/// kelvane sync SOURCE... DEVICE
class SyncCommand {
public:
    explicit SyncCommand(SyncOptions options);

    ExitCode run();

private:
    [[nodiscard]] SyncSummary dryRun(DeviceFolder &device);
    [[nodiscard]] SyncSummary sync(DeviceFolder &device);

    const SyncOptions _options;
    const std::unique_ptr<SyncView> _view;
};

} // namespace kelvane::tool
