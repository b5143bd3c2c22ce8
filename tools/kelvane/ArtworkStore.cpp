// SPDX-License-Identifier: Apache-2.0
#include "ArtworkStore.h"

#include "Artwork.h"
#include "DeviceRepair.h"
#include "ExitCode.h"
#include "MediaReader.h"
#include "SafeFile.h"
#include "Text.h"

#include <array>
#include <cerrno>
#include <openssl/evp.h>
#include <set>
#include <unistd.h>

namespace kelvane::tool {
namespace {

std::string digestOf(const Data &data)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    if (EVP_Digest(data.bytes().data(), data.size(), bytes.data(), &size, EVP_sha256(), nullptr) != 1)
        throw ItemError("cannot name its picture");
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < size; ++i)
        text += {digits[bytes[i] >> 4], digits[bytes[i] & 15]};
    return text;
}

} // namespace

std::atomic<std::uint64_t> ArtworkStore::s_stagedCount{0};

std::string ArtworkStore::put(const Data &picture)
{
    if (picture.isEmpty())
        return {};
    std::string path = std::string(folder) + '/' + digestOf(picture) + pictureExtension(picture);
    if (_device.stampOf(path))
        return path;
    const std::string staged = std::string(DeviceRepair::incomingFolder) + "/artwork" + std::to_string(++s_stagedCount);
    try {
        write(picture, staged);
        // A name that is taken by now holds the same picture, put there by another item's task.
        if (!_device.publish(staged, path))
            _device.removeFile(staged);
    } catch (...) {
        _device.removeFile(staged);
        throw;
    }
    return path;
}

void ArtworkStore::write(const Data &picture, const std::string &staged)
{
    const FileDescriptor file = _device.makeNewFile(staged);
    try {
        writeAll(file.get(), picture.view());
        makeUsual(file.get());
    } catch (const ItemError &error) {
        throw ItemError(std::string("cannot write its picture: ") + error.what());
    }
    if (::fsync(file.get()) != 0)
        throw ItemError("cannot write its picture: " + reasonText(errno));
}

// The library of a strange device may name any file. What is none of the device's, or is gone, has no picture.
Data ArtworkStore::pictureOf(const std::string &devicePath)
{
    try {
        const FileDescriptor file = _device.openFile(devicePath);
        return readArtwork(_device.pinnedPath(file, devicePath));
    } catch (const ItemError &) {
        return {};
    }
}

void ArtworkStore::settle()
{
    const std::vector<std::string> names = _device.filesIn(folder);
    std::set<std::string> unused;
    for (const std::string &name : names)
        unused.insert(std::string(folder) + '/' + name);
    const std::set<std::string> present = unused;
    _library.forEachArtwork([&](const DeviceLibrary::ItemArtwork &item) {
        std::string path = item.artworkPath;
        if (!item.isKnown || (!path.empty() && !present.contains(path))) {
            path = put(pictureOf(item.devicePath));
            _library.setArtwork(item.devicePath, path);
        }
        unused.erase(path);
    });
    for (const std::string &path : unused)
        _device.removeFile(path);
}

} // namespace kelvane::tool
