// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/TagFile.h>

#include <kelvane/media/detail/ArtworkProbe.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/detail/FileAccess.h>
#include <kelvane/platform/detail/FileAttributes.h>

#include <cstdio>
#include <utility>

namespace kelvane {
namespace {

// Intended: what is no longer than that is a placeholder ("(none)"), which may be replaced.
constexpr std::size_t maximumPlaceholder = 10;

/// In UTF-16 units, as the lyrics' length was always counted.
bool isLongerThanAPlaceholder(const String &text)
{
    constexpr std::size_t maximumBytesOfAUnit = 3;
    return text.size() > maximumPlaceholder * maximumBytesOfAUnit || text.toUtf16().size() > maximumPlaceholder;
}

} // namespace

TagFile::TagFile(String path) : _filePath(std::move(path)) {}
TagFile::~TagFile() = default;

bool TagFile::isExistArtwork() const
{
    if (_filePath.isNull())
        return false;
    const char *path = detail::systemPath(_filePath);
    const detail::FileDescriptor file = path ? detail::openRegularFile(path) : detail::FileDescriptor();
    if (!file) {
        std::fputs("hasArtwork file failed!\n", stdout);
        return false;
    }
    return detail::hasArtworkMark(file.get());
}

std::shared_ptr<Mediadata> TagFile::makeMediadata() const
{
    auto metadata = std::make_shared<Mediadata>(AudioMetadata::CreateMetadataForURL(_filePath));
    metadata->setFilePath(_filePath);
    return metadata;
}

const std::shared_ptr<Mediadata> &TagFile::simpleMediadata()
{
    if (!_mediaData)
        _mediaData = makeMediadata();
    return _mediaData;
}

const std::shared_ptr<Mediadata> &TagFile::mediadata()
{
    if (!_mediaData) {
        _mediaData = makeMediadata();
        _mediaData->loadMediaData();
    }
    return _mediaData;
}

bool TagFile::saveLyrics(const String &lyrics)
{
    if (lyrics.isEmpty())
        return false;
    const auto file = AudioMetadata::CreateMetadataForURL(_filePath);
    if (!file || isLongerThanAPlaceholder(file->GetLyrics()))
        return false;
    file->SetLyrics(lyrics);
    return file->WriteMetadata();
}

} // namespace kelvane
