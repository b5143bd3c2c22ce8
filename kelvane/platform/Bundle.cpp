// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Bundle.h>

#include <kelvane/platform/detail/ExecutablePath.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/FileHandle.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/PropertyList.h>

#include <cstdint>
#include <span>
#include <utility>

namespace kelvane {

namespace {

/// An information list takes a few kilobytes; what is larger is something else.
constexpr std::uint64_t largestInfo = 1 << 20;

Dictionary readInfo(const String &folder)
{
    const String path = appendingPathComponent(folder, "Info.plist");
    const auto attributes = detail::fileAttributes(path);
    if (!attributes || !attributes->isRegular || attributes->size > largestInfo)
        return Dictionary::empty();
    const auto file = FileHandle::forReading(path);
    bool isRead = false;
    const Data data = Data::create(static_cast<std::size_t>(attributes->size),
        [&](std::span<std::byte> buffer) { isRead = file && file->read(buffer); });
    const Dictionary info = isRead ? PropertyList::read(data).dictionary() : Dictionary();
    return info.isNull() ? Dictionary::empty() : info;
}

} // namespace

Bundle::Bundle(String executablePath)
    : _executablePath(std::move(executablePath)),
      _bundlePath(deletingLastPathComponent(_executablePath))
{
}

Bundle::~Bundle() = default;

Bundle &Bundle::mainBundle()
{
    static Bundle &bundle = *new Bundle(detail::programPath());
    return bundle;
}

Bundle &Bundle::libraryBundle()
{
    static Bundle *separate = [] {
        const String path = detail::libraryPath();
        return path == mainBundle().executablePath() ? nullptr : new Bundle(path);
    }();
    return separate ? *separate : mainBundle();
}

Dictionary Bundle::infoDictionary()
{
    const std::lock_guard guard(_mutex);
    if (_info.isNull())
        _info = readInfo(_bundlePath);
    return _info;
}

void Bundle::setInfoDictionary(Dictionary info)
{
    const std::lock_guard guard(_mutex);
    _info = std::move(info);
}

Value Bundle::objectForInfoDictionaryKey(const String &key)
{
    return infoDictionary()[key.view()];
}

} // namespace kelvane
