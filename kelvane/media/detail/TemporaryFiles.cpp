// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFiles.h"

#include <kelvane/common/Utils.h>
#include <kelvane/platform/detail/FileAccess.h>

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace kelvane::detail {

String temporaryPath(std::string_view suffix)
{
    std::error_code error;
    std::string folder = std::filesystem::temp_directory_path(error).string();
    if (error)
        folder = "/tmp";
    if (!folder.ends_with('/'))
        folder += '/';
    return String::concat({folder, Utils::genUUIDString().view(), suffix});
}

bool writeFile(const String &path, const Data &data)
{
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return false;
    const bool isWritten = writeAll(descriptor, data.bytes());
    return ::close(descriptor) == 0 && isWritten;
}

} // namespace kelvane::detail
