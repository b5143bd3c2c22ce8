// SPDX-License-Identifier: Apache-2.0
#include "FileReplacement.h"

#include <sys/xattr.h>
#include <vector>

namespace kelvane::detail {

void copyExtendedAttributes(int from, int to)
{
    const ssize_t size = ::flistxattr(from, nullptr, 0);
    if (size <= 0)
        return;
    std::vector<char> names(static_cast<std::size_t>(size));
    const ssize_t got = ::flistxattr(from, names.data(), names.size());
    if (got <= 0)
        return;
    names.resize(static_cast<std::size_t>(got));
    names.push_back('\0');
    std::vector<char> value;
    for (std::size_t at = 0; at + 1 < names.size();) {
        const std::string name(names.data() + at);
        at += name.size() + 1;
        const ssize_t length = ::fgetxattr(from, name.c_str(), nullptr, 0);
        if (length < 0)
            continue;
        value.resize(static_cast<std::size_t>(length));
        const ssize_t read = ::fgetxattr(from, name.c_str(), value.data(), value.size());
        if (read >= 0)
            (void)::fsetxattr(to, name.c_str(), value.data(), static_cast<std::size_t>(read), 0);
    }
}

} // namespace kelvane::detail
