// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/SystemVersion.h>
#include <kelvane/platform/ZenLogger.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace kelvane {

bool Utils::isOSOfLionLater() noexcept
{
    return SystemVersion::current().isAtLeast(10, 7);
}

bool Utils::isOSXVersionLater(std::int32_t majorVersion, std::int32_t minorVersion) noexcept
{
    return SystemVersion::current().isAtLeast(majorVersion, minorVersion);
}

String Utils::pipeCmd(const String &command)
{
    const char *text = detail::systemPath(command); // a NUL would cut it off
    if (!text)
        return {};
    std::FILE *pipe = popen(text, "re");
    if (!pipe)
        return {};
    const std::unique_ptr<char[]> buffer(new char[defaultBufferSize]);
    const std::size_t size = std::fread(buffer.get(), 1, defaultBufferSize, pipe);
    pclose(pipe);
    String output = String::fromUtf8({buffer.get(), size});
    if (ZenLogger::defaultLogger().isDebugEnabled())
        ZenLogger::defaultLogger().ZenLogDebug(
            String::concat({"pipeCmd:", output.isNull() ? "(null)" : output.view()}));
    return output;
}

std::int32_t Utils::downloadModule(const String &path, const String &url, std::int32_t expectSize)
{
    constexpr int mostTries = 6;
    for (int tries = 0;; ++tries) {
        if (fileSize(path) >= expectSize)
            return 0;
        if (tries == mostTries || !detail::systemPath(path) || !detail::systemPath(url))
            return -1;
        const String command = String::concat({"curl -o \"", path.view(), "\" ", url.view()});
        // Its result says nothing that the size of the file does not.
        [[maybe_unused]] const int ignored = std::system(command.c_str());
    }
}

} // namespace kelvane
