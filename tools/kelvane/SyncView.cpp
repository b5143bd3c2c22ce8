// SPDX-License-Identifier: Apache-2.0
#include "SyncView.h"

#include "Text.h"

#include <cstdio>

namespace kelvane::tool {

void SyncView::errorLine(const std::string &printableLine)
{
    clearForLine();
    const std::string line = "kelvane: " + printableLine + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
    drawAgain();
}

void SyncView::itemFailed(const std::string &path, std::string_view what, const std::string &reason)
{
    errorLine("cannot " + std::string(what) + ' ' + inQuotes(path) + ": " + reason);
    failed(path, reason);
}

std::string_view verb(std::string_view what)
{
    return what == "add" ? "copy" : what == "change" ? "replace" : what == "delete" ? "remove" : "verify";
}

std::string_view pastTense(std::string_view what)
{
    return what == "add" ? "copied" : what == "change" ? "replaced" : what == "delete" ? "removed" : "verified";
}

} // namespace kelvane::tool
