// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileMetadataIndex.h>

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Process.h>
#include <kelvane/platform/PropertyList.h>
#include <kelvane/platform/Uuid.h>

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

} // namespace

Dictionary FileMetadataIndex::propertiesOfFile(const String &path, const String &tool)
{
    if (path.isNull())
        return nullptr;
    const String output = outputPath();
    if (!runTool(tool, path, output))
        return nullptr;
    std::ifstream file(output.c_str(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return PropertyList::read(Data(bytes.data(), bytes.size())).dictionary();
}

} // namespace kelvane
