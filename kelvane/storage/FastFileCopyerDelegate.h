// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

namespace kelvane {

class FastFileCopyer;

/// Told how a copy goes on. Override what is of interest.
///
/// Threads: called on the thread that copies: the caller's, or that of FastFileCopyer::fastFileCopyerQueue().
/// Ownership: the copier does not keep its delegate alive.
class KELVANE_EXPORT FastFileCopyerDelegate {
public:
    virtual ~FastFileCopyerDelegate();

    /// At the start of every copy, before the source is looked for. @selector fileCopyWillStart:
    virtual void fileCopyWillStart(FastFileCopyer &copier);
    /// After each part of a file's content, once copiedSize() is raised. @selector fileCopyProgressChanged:
    virtual void fileCopyProgressChanged(FastFileCopyer &copier);
    /// Exactly once at the end of every copy, whatever its outcome. @selector fileCopyDidFinish:
    virtual void fileCopyDidFinish(FastFileCopyer &copier);
};

} // namespace kelvane
