// SPDX-License-Identifier: Apache-2.0
#include "DecoderLibrary.h"

#include <kelvane/common/Utils.h>
#include <kelvane/platform/detail/Module.h>

#include <algorithm>
#include <dlfcn.h>

namespace kelvane::detail {

DecoderLibrary &DecoderLibrary::shared()
{
    static DecoderLibrary &instance = *new DecoderLibrary; // never destroyed: the module stays loaded, too
    return instance;
}

DecoderLibrary::State DecoderLibrary::load()
{
    String path;
    {
        const std::lock_guard lock(_mutex);
        if (_handle)
            return State::loaded;
        const auto paths = modulePaths(decoderModuleName);
        const auto found = std::find_if(paths.begin(), paths.end(), Utils::fileExsit);
        if (found == paths.end())
            return State::missing;
        path = *found;
        _handle = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
        if (!_handle)
            return State::notLoadable;
    }
    warnIfOpenToAll(path); // without the lock: the log's sink may be the application's
    return State::loaded;
}

std::optional<DecoderLibrary::Functions> DecoderLibrary::functions() const
{
    const std::lock_guard lock(_mutex);
    ::dlerror();
    Functions functions{reinterpret_cast<DecodeImageData>(::dlsym(_handle, decodeImageDataName)),
        reinterpret_cast<FreeImageData>(::dlsym(_handle, freeImageDataName)), nullptr, nullptr};
    if (::dlerror() || !functions.decode || !functions.free)
        return std::nullopt;
    functions.decodePhoto = reinterpret_cast<DecodePhoto>(::dlsym(_handle, decodePhotoName));
    functions.freePlanes = reinterpret_cast<FreePlanes>(::dlsym(_handle, freePlanesName));
    if (!functions.freePlanes)
        functions.decodePhoto = nullptr;
    return functions;
}

void DecoderLibrary::close() noexcept
{
    const std::lock_guard lock(_mutex);
    if (_handle)
        ::dlclose(_handle);
}

} // namespace kelvane::detail
