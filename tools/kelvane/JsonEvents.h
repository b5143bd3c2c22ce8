// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncView.h"

#include <string_view>

namespace kelvane::tool {

/// One JSON object a line on standard output, for programs.
class JsonEvents : public SyncView {
public:
    void itemPlanned(const SyncItemNews &item) override;
    void itemStarted(const SyncItemNews &item) override;
    void itemStep(const SyncItemNews &item, std::string_view step) override;
    void itemProgress(const SyncItemNews &item, int percent, std::int64_t copied) override;
    void itemFinished(const SyncItemNews &item) override;
    void itemSkipped(const std::string &path, std::string_view reason) override;
    void finished(const SyncSummary &summary) override;

protected:
    void failed(const std::string &path, const std::string &reason) override;
};

} // namespace kelvane::tool
