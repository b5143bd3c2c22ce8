// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncView.h"

namespace kelvane::tool {

/// A line for each item that was worked on, for logs and pipes.
class PlainProgress : public SyncView {
public:
    void itemPlanned(const SyncItemNews &item) override;
    void itemFinished(const SyncItemNews &item) override;
    void finished(const SyncSummary &summary) override;
};

} // namespace kelvane::tool
