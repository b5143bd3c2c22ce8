// SPDX-License-Identifier: Apache-2.0
#include "TargetNames.h"

#include "ExitCode.h"
#include "Text.h"

#include <kelvane/common/Utils.h>

#include <algorithm>

namespace kelvane::tool {
namespace {

// The longest name of a file that common file systems take, in bytes.
constexpr std::size_t longestName = 255;

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
        [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

// The extension says what the file is, also where that of the source does not.
std::string extensionFor(const std::string &sourcePath, const MediaFormat &format)
{
    const std::string extension = lowerExtension(sourcePath);
    return format.hasExtension(extension) ? extension : std::string(format.extensions.front());
}

// A name that every device's file system takes.
std::string sanitised(std::string_view name)
{
    constexpr std::string_view refused = "\"*/:<>?\\|";
    std::string text = validUtf8(name);
    for (char &c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f || refused.find(c) != std::string_view::npos)
            c = '_';
    while (!text.empty() && (text.back() == '.' || text.back() == ' '))
        text.pop_back();
    if (text.empty() || text.front() == '.')
        text.insert(text.begin(), '_');
    return text;
}

// At most `size` bytes, cut between characters.
std::string shortened(std::string text, std::size_t size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xc0) == 0x80)
        --size;
    text.resize(size);
    return text;
}

std::string baseName(const std::string &path)
{
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    return std::string(dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot));
}

} // namespace

void TargetNames::take(const std::string &devicePath)
{
    const std::lock_guard guard(_mutex);
    _taken.insert(lowerCase(devicePath));
}

bool TargetNames::tryTake(const std::string &devicePath)
{
    const std::string name = lowerCase(devicePath);
    const std::lock_guard guard(_mutex);
    return !_taken.contains(name) && !_device.isTaken(devicePath) && _taken.insert(name).second;
}

std::string TargetNames::nameFor(const std::string &sourcePath, const MediaFormat &format)
{
    const std::string extension = '.' + extensionFor(sourcePath, format);
    if (format.kind == MediaKind::Image)
        return pictureName(sourcePath, extension);
    // There are 39 million names; a device that is full of them is not a device.
    for (int attempt = 0; attempt < 100000; ++attempt) {
        std::string name =
            "Music/" + Utils::getRandomFolderName().str() + '/' + Utils::getRandomFileName().str() + extension;
        if (tryTake(name))
            return name;
    }
    throw ItemError("no name is free for it on the device");
}

std::string TargetNames::pictureName(const std::string &sourcePath, const std::string &extension)
{
    const std::string base = sanitised(baseName(sourcePath));
    const std::string key = lowerCase(base + extension);
    int number = 1;
    {
        // Every album has its cover.jpg: who tries all numbers anew for each of them comes to no end.
        const std::lock_guard guard(_mutex);
        if (const auto last = _lastNumbers.find(key); last != _lastNumbers.end())
            number = last->second + 1;
    }
    for (;; ++number) {
        const std::string ending = (number == 1 ? "" : " (" + std::to_string(number) + ')') + extension;
        std::string name = "Photos/" + shortened(base, longestName - ending.size()) + ending;
        if (!tryTake(name))
            continue;
        const std::lock_guard guard(_mutex);
        _lastNumbers[key] = number;
        return name;
    }
}

} // namespace kelvane::tool
