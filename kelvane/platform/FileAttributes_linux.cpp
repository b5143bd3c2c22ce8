// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/FileAttributes.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace kelvane::detail {

namespace {

Date dateOf(const struct statx_timestamp &time) noexcept
{
    return Date::fromSecondsSince1970(static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9);
}

} // namespace

std::optional<FileAttributes> fileAttributes(const String &path) noexcept
{
    const char *name = systemPath(path);
    struct statx status = {};
    if (!name || statx(AT_FDCWD, name, AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
        return std::nullopt;
    const bool hasBirthTime = (status.stx_mask & STATX_BTIME) != 0;
    return FileAttributes{status.stx_size, S_ISDIR(status.stx_mode), S_ISREG(status.stx_mode),
        hasBirthTime ? dateOf(status.stx_btime) : Date(), dateOf(status.stx_mtime)};
}

} // namespace kelvane::detail
