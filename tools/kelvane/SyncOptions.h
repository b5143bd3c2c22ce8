// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CommandLine.h"
#include "SpaceBudget.h"

#include <string>
#include <vector>

namespace kelvane::tool {

/// What the command line asks of a sync.
struct SyncOptions {
    std::vector<std::string> sources;
    std::string device;
    int jobs = 2; // items that are worked on at once
    bool isDryRun = false;
    bool deletesVanished = false;
    bool verifies = false;
    bool keepsHeic = false;
    SpaceReserve reserve; // what stays free on the device
    OutputOptions output;
};

} // namespace kelvane::tool
