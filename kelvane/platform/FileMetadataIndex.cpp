// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileMetadataIndex.h>

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/Process.h>
#include <kelvane/platform/PropertyList.h>
#include <kelvane/platform/Uuid.h>

#include "detail/FileAttributes.h"
#include "detail/LoadedMediaModule.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kelvane {
namespace {

String outputPath()
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error)
        folder = "/tmp";
    return (folder / Uuid::generate().string().view()).native();
}

/// False where the tool cannot be started. However it ends, what it wrote is looked at.
bool runTool(const String &tool, const String &path, const String &output)
{
    Process process;
    process.setLaunchPath(tool);
    process.setArguments({path, "-plist", output});
    try {
        process.launch();
    } catch (const Exception &) {
        return false;
    }
    process.waitUntilExit();
    return true;
}

Dictionary propertiesByTool(const String &tool, const String &path)
{
    const String output = outputPath();
    if (!runTool(tool, path, output))
        return nullptr;
    std::ifstream file(output.c_str(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return PropertyList::read(Data(bytes.data(), bytes.size())).dictionary();
}

// What the module gives.
Value valueOf(const detail::MediaFact &fact)
{
    switch (fact.kind) {
    case detail::MediaFactInteger:
        return fact.integer;
    case detail::MediaFactReal:
        return fact.real;
    case detail::MediaFactDate:
        return Date::fromSecondsSince1970(fact.real);
    default:
        return String(fact.text);
    }
}

void addFileFacts(Dictionary &properties, const String &path, const detail::FileAttributes &file)
{
    properties.set("kMDItemFSName", lastPathComponent(path));
    properties.set("kMDItemFSSize", static_cast<std::int64_t>(file.size));
    properties.set("kMDItemContentCreationDate", file.created);
    properties.set("kMDItemContentModificationDate", file.modified);
}

Dictionary propertiesByModule(const String &path)
{
    const std::optional<detail::FileAttributes> file = detail::fileAttributes(path);
    if (!file || !file->isRegular || !detail::mediaModule())
        return nullptr;
    Dictionary properties = Dictionary::empty();
    addFileFacts(properties, path, *file);
    const detail::OwnedMediaFacts facts(detail::mediaModule()->indexFile(path.c_str()));
    for (std::size_t i = 0; facts && i < facts->count; ++i) {
        const detail::MediaFact &fact = facts->facts[i];
        if (fact.kind != detail::MediaFactElement) {
            properties.set(fact.key, valueOf(fact));
            continue;
        }
        Array list = properties[fact.key].array();
        list.append(valueOf(fact));
        properties.set(fact.key, list);
    }
    return properties;
}

} // namespace

Dictionary FileMetadataIndex::propertiesOfFile(const String &path, const String &tool)
{
    if (path.isNull())
        return nullptr;
    const std::optional<detail::FileAttributes> installed = detail::fileAttributes(tool);
    return installed && installed->isRegular ? propertiesByTool(tool, path) : propertiesByModule(path);
}

} // namespace kelvane
