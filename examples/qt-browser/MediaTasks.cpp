// SPDX-License-Identifier: Apache-2.0
#include "MediaTasks.h"

#include <kelvane/common/SyncItemAsyncTask.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/media/MimeTypes.h>
#include <kelvane/media/TagFile.h>
#include <kelvane/platform/Thumbnail.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace browser {

using namespace kelvane;

namespace {

std::int64_t mediaTypeOf(const std::string &path)
{
    return MimeTypes::mediaTypeByMimeType(MimeTypes::mimeTypeByFileName(path));
}

std::vector<std::string> mediaFilesIn(const std::string &folder)
{
    namespace fs = std::filesystem;
    std::vector<std::string> paths;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const std::int64_t type = mediaTypeOf(entry->path().native());
        if ((type == 1 || type == 2 || type == 4) && entry->is_regular_file(error))
            paths.push_back(entry->path().native());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::shared_ptr<MediaItem> readItem(const std::string &path)
{
    TagFile file(path);
    const Mediadata &tags = *file.simpleMediadata();
    const auto item = std::make_shared<MediaItem>();
    MediaFile &record = *item->record();
    record.path = path;
    record.title = tags.title();
    record.artist = tags.artist();
    record.album = tags.album();
    record.mediaType = mediaTypeOf(path);
    if (const AudioMetadata *metadata = tags.audioMetadata()) {
        record.hasTags = true;
        record.seconds = metadata->GetDuration().isNil() ? 0 : tags.duration();
    }
    return item;
}

bool writeTitle(AsyncTaskIOS &task, const MediaFile &record)
{
    String reason;
    const auto tags = AudioMetadata::CreateMetadataForURL(record.path, &reason);
    if (tags)
        tags->SetTitle(record.title);
    if (tags && tags->WriteMetadata(&reason))
        return true;
    task.setErrorText(record.path + String(": ") + reason);
    return false;
}

} // namespace

std::shared_ptr<AsyncTaskIOS> readFolderTask(String folder, std::shared_ptr<DataItemList> list)
{
    return std::make_shared<AsyncTaskIOS>(
        [folder = std::move(folder), list = std::move(list)](AsyncTaskIOS &task, const Object &) {
            const auto paths = mediaFilesIn(folder.str());
            task.incStepCount(static_cast<std::int32_t>(paths.size()));
            for (const std::string &path : paths) {
                if (!task.canContinue())
                    return false;
                const auto item = readItem(path);
                list->addItem(item);
                item->acceptChanges();
                task.incStep();
            }
            return true;
        });
}

std::shared_ptr<AsyncTaskIOS> commitTask(const DataItemList &list)
{
    return std::make_shared<AsyncTaskIOS>([items = list.getChanges()](AsyncTaskIOS &task, const Object &) {
        task.incStepCount(static_cast<std::int32_t>(items.size()));
        String firstError;
        for (const auto &item : items) {
            const auto record = std::dynamic_pointer_cast<MediaItem>(item)->record();
            // Commits its item if the work succeeds.
            const auto child = std::make_shared<SyncItemAsyncTask>(
                [record](AsyncTaskIOS &writing, const Object &) { return writeTitle(writing, *record); }, nullptr,
                nullptr, nullptr, nullptr, item);
            if (!task.executeTask(child) && firstError.isNull())
                firstError = child->errorText();
            task.incStep();
        }
        task.setErrorText(firstError);
        return firstError.isNull();
    });
}

std::shared_ptr<AsyncTaskIOS> artworkTask(String path, int side)
{
    return std::make_shared<AsyncTaskIOS>([path = std::move(path), side](AsyncTaskIOS &task, const Object &) {
        QImage image;
        const auto load = [&](const Data &file) {
            image.loadFromData(reinterpret_cast<const uchar *>(file.bytes().data()), static_cast<int>(file.size()));
            return !image.isNull();
        };
        const auto tags = AudioMetadata::CreateMetadataForURL(path);
        const bool hasCover =
            tags && tags->GetAttachedPictureCount() > 0 && load(tags->GetAttachedPictures().front().GetData());
        if (hasCover || load(Thumbnail::jpegOfFile(path, side * 2)))
            image = image.scaled(side, side, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
        task.setUserResult(Object::of(image));
        return true;
    });
}

} // namespace browser
