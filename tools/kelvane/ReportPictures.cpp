// SPDX-License-Identifier: Apache-2.0
#include "ReportPictures.h"

#include "ExitCode.h"
#include "SideBySide.h"
#include "Text.h"

#include <kelvane/common/Base64Encode.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageDestination.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace kelvane::tool {
namespace {

/// A folder for files that are gone when the program is done with them.
class ScratchFolder {
public:
    ScratchFolder() : _path((std::filesystem::temp_directory_path() / "kelvane-XXXXXX").native())
    {
        if (!::mkdtemp(_path.data()))
            throw StopError(ExitCannotStart, "cannot make a folder " + inQuotes(_path) + ": " + reasonText(errno));
    }
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }

    [[nodiscard]] std::string path(const std::string &name) const { return _path + '/' + name; }

private:
    std::string _path;
};

// Null where reading fails, or there is more than any picture has.
Data readWhole(int file)
{
    constexpr std::size_t blockSize = 1 << 16;
    std::string bytes;
    while (bytes.size() <= static_cast<std::size_t>(Image::mostFileBytes)) {
        const std::size_t size = bytes.size();
        bytes.resize(size + blockSize);
        const ssize_t count = ::read(file, bytes.data() + size, blockSize);
        if (count < 0 && errno != EINTR)
            return {};
        bytes.resize(size + static_cast<std::size_t>(count > 0 ? count : 0));
        if (count == 0)
            return Data(bytes.data(), bytes.size());
    }
    return {};
}

// Nothing for what is no file, or lies outside the device: the library may say anything.
std::int64_t sizeOf(DeviceFolder &device, const std::string &path)
{
    try {
        const std::optional<FileStamp> stamp = device.stampOf(path);
        return stamp ? stamp->size : 0;
    } catch (const ItemError &) {
        return 0;
    }
}

std::string smallPicture(DeviceFolder &device, const std::string &path, const std::string &scratch)
{
    constexpr std::int32_t edge = 96; // pixels: sharp on screens of two pixels to the point
    if (!device.stampOf(path)) // a FIFO would keep us for ever
        return {};
    const Image image = Image::fromData(readWhole(device.openFile(path).get()), edge).upright().scaledToFit(edge);
    if (image.isNull())
        return {};
    // Without the profile, which would take more room than the pixels.
    const Image plain(image.pixels(), image.width(), image.height());
    const auto destination = ImageDestination::create(scratch, ImageFormat::Jpeg);
    ImageDestinationOptions options;
    options.quality = 0.75;
    if (!destination || !destination->write(plain, options))
        return {};
    const FileDescriptor file(::open(scratch.c_str(), O_RDONLY | O_CLOEXEC));
    return Base64Encode::stringByEncodeData(readWhole(file.get())).str();
}

} // namespace

std::vector<std::string> smallPictures(
    DeviceFolder &device, const std::vector<std::string> &paths, int jobs, WorkProgress &progress)
{
    const ScratchFolder scratch;
    std::vector<std::int64_t> sizes;
    std::int64_t bytes = 0;
    for (const std::string &path : paths) {
        sizes.push_back(sizeOf(device, path));
        bytes += sizes.back();
    }
    std::vector<std::string> pictures(paths.size());
    progress.plan(paths.size(), static_cast<std::uint64_t>(bytes));
    runSideBySide(paths.size(), jobs, progress, [&](std::size_t i) {
        progress.start(paths[i], sizes[i]);
        try {
            pictures[i] = smallPicture(device, paths[i], scratch.path(std::to_string(i) + ".jpg"));
        } catch (const ItemError &) {
            // An item whose picture is gone is listed without; the next sync makes it anew.
        }
        progress.settle(paths[i], sizes[i]);
    });
    progress.finish();
    return pictures;
}

} // namespace kelvane::tool
