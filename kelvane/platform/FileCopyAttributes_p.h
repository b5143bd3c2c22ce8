// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/FileCopySession_p.h>

namespace kelvane {

/// The attributes of one file or folder on their way from `in` to `out`, as far as the flags ask for them.
class FileCopyAttributes {
public:
    FileCopyAttributes(FileCopySession &session, int in, int out) : _session(session), _in(in), _out(out) {}

    /// Takes away the access control lists that the destination has from the folder that it was made in.
    void dropInheritedAcl() const;
    /// The extended attributes, before the content: writing needs the permission that the final mode may take away.
    [[nodiscard]] CopyStep copyXattrs();
    /// Everything else, after the content: access control lists, owner, mode, what a write or a change of the owner
    /// would take away again, and at last the times.
    [[nodiscard]] CopyStep copyStat(const struct stat &info);

private:
    [[nodiscard]] CopyStep copyXattr(const char *name);
    [[nodiscard]] CopyStep copyAcl();
    [[nodiscard]] mode_t copyOwner(const struct stat &info);

    FileCopySession &_session;
    const int _in;
    const int _out;
    bool _accessAcl = false;
    bool _defaultAcl = false;
    bool _capability = false;
};

} // namespace kelvane
