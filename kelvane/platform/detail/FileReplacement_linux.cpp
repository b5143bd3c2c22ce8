// SPDX-License-Identifier: Apache-2.0
#include "FileReplacement.h"

#include <cerrno>
#include <optional>
#include <sys/xattr.h>
#include <vector>

namespace kelvane::detail {
namespace {

/// The names one after the other, each with its NUL. Nothing where they cannot be read.
std::optional<std::vector<char>> attributeNames(int file)
{
    const ssize_t size = ::flistxattr(file, nullptr, 0);
    if (size <= 0)
        return size == 0 || isRefusal(errno) ? std::optional(std::vector<char>()) : std::nullopt;
    std::vector<char> names(static_cast<std::size_t>(size));
    const ssize_t got = ::flistxattr(file, names.data(), names.size());
    if (got < 0)
        return std::nullopt;
    names.resize(static_cast<std::size_t>(got));
    return names;
}

bool copyAttribute(int from, int to, const char *name)
{
    const ssize_t length = ::fgetxattr(from, name, nullptr, 0);
    std::vector<char> value(length > 0 ? static_cast<std::size_t>(length) : 0);
    const ssize_t got = length < 0 ? -1 : ::fgetxattr(from, name, value.data(), value.size());
    // One that is gone meanwhile, or that we may not see, is none to copy.
    if (got < 0)
        return isRefusal(errno);
    return ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(got), 0) == 0 || isRefusal(errno);
}

} // namespace

bool isRefusal(int error)
{
    return error != EIO && error != ENOSPC && error != EDQUOT && error != ENOMEM && error != ERANGE;
}

bool copyExtendedAttributes(int from, int to)
{
    const std::optional<std::vector<char>> names = attributeNames(from);
    if (!names)
        return false;
    for (std::size_t at = 0; at < names->size();) {
        const std::string name(names->data() + at);
        if (!copyAttribute(from, to, name.c_str()))
            return false;
        at += name.size() + 1;
    }
    return true;
}

} // namespace kelvane::detail
