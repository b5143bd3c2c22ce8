// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFiles.h"

#include <kelvane/common/Utils.h>

#include <cerrno>
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
    std::string_view rest = data.view();
    while (!rest.empty()) {
        const ssize_t written = ::write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::close(descriptor) == 0 && rest.empty();
}

} // namespace kelvane::detail
