// SPDX-License-Identifier: Apache-2.0
// What the module exports: its table of operations.
#include "FileFacts.h"
#include "Picture.h"
#include "StillImage.h"
#include "VideoFrame.h"

#include <exception>

namespace kelvane::module {
namespace {

constexpr std::int64_t maxBytesRead = 128'000'000;

/// What the caller sees of it is its base.
struct HandedOut : detail::MediaFacts {
    explicit HandedOut(MediaInput &input) : content(input)
    {
        static_cast<detail::MediaFacts &>(*this) = content.facts();
    }

    FileFacts content;
};

const detail::MediaFacts *indexFile(const char *path)
{
    try {
        Budget budget(1.0, maxBytesRead);
        MediaInput input(path, budget);
        if (!input.isOpen())
            return nullptr;
        auto handed = std::make_unique<HandedOut>(input);
        return handed->count > 0 ? handed.release() : nullptr;
    } catch (const std::exception &) {
        return nullptr; // no memory left
    }
}

void releaseFacts(const detail::MediaFacts *facts)
{
    delete static_cast<const HandedOut *>(facts);
}

const detail::MediaPicture *frameOfVideo(const char *path, std::int32_t maxWidth, std::int32_t maxHeight)
{
    try {
        Budget budget(1.5, maxBytesRead);
        MediaInput input(path, budget);
        return input.isOpen() ? handOut(videoFrame(input, maxWidth, maxHeight)) : nullptr;
    } catch (const std::exception &) {
        return nullptr;
    }
}

const detail::MediaPicture *decodeImage(const std::uint8_t *bytes, std::size_t size, std::int64_t maxPixels)
{
    try {
        return bytes ? handOut(stillImage({reinterpret_cast<const char *>(bytes), size}, maxPixels)) : nullptr;
    } catch (const std::exception &) {
        return nullptr;
    }
}

constexpr detail::MediaModule table{
    detail::mediaModuleVersion, 0, indexFile, releaseFacts, frameOfVideo, decodeImage, releasePicture};

} // namespace
} // namespace kelvane::module

extern "C" __attribute__((visibility("default"))) const kelvane::detail::MediaModule *kelvane_media_module()
{
    // Broken files are everyday business here, and the application's standard error is not ours to write to. One that
    // has set a level of its own keeps it.
    if (av_log_get_level() == AV_LOG_INFO)
        av_log_set_level(AV_LOG_QUIET);
    return &kelvane::module::table;
}
