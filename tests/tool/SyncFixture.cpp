// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace kelvane::testsupport {

namespace fs = std::filesystem;

void SyncFixture::SetUp()
{
    if (!fs::exists(KELVANE_TOOL_MEDIA "/complete"))
        GTEST_SKIP() << "no ffmpeg was there to make the media files";
    fs::create_directory(source());
    fs::create_directory(device());
}

std::string SyncFixture::addMedia(const std::string &sample, const std::string &name) const
{
    std::string path = source(name);
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file(std::string(KELVANE_TOOL_MEDIA "/") + sample, path, fs::copy_options::overwrite_existing);
    return path;
}

void SyncFixture::addAllKinds() const
{
    for (const char *name :
        {"song.mp3", "song.m4a", "song.flac", "song.ogg", "song.wav", "film.mp4", "photo.jpg", "picture.png"})
        addMedia(name, name);
}

void SyncFixture::addSongs(int count) const
{
    for (int i = 0; i < count; ++i) {
        const std::string path = addMedia("song.mp3", "song" + std::to_string(1000 + i) + ".mp3");
        std::ofstream(path, std::ios::binary | std::ios::app) << "end of song " << i;
    }
}

void SyncFixture::write(const std::string &path, const std::string &content)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

std::string SyncFixture::read(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ToolResult SyncFixture::sync(std::vector<std::string> options, const ToolOptions &process) const
{
    options.insert(options.begin(), "sync");
    options.insert(options.end(), {source(), device()});
    return runTool(options, process);
}

std::vector<Json> SyncFixture::parse(const ToolResult &result)
{
    std::vector<Json> objects;
    for (const std::string &line : result.outputLines()) {
        const Json object = Json::parse(line, nullptr, false);
        EXPECT_TRUE(object.is_object()) << line;
        objects.push_back(object);
    }
    return objects;
}

Json SyncFixture::summaryOfSync(std::vector<std::string> options) const
{
    options.emplace_back("--json");
    const std::vector<Json> events = parse(sync(options));
    EXPECT_FALSE(events.empty());
    return events.empty() ? Json::object() : events.back();
}

std::map<std::string, Json> SyncFixture::library() const
{
    std::map<std::string, Json> items;
    for (const Json &item : parse(runTool({"list", "--json", device()})))
        EXPECT_TRUE(items.emplace(item["source"].get<std::string>(), item).second) << item;
    return items;
}

std::vector<std::string> SyncFixture::deviceFiles() const
{
    std::vector<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(device())) {
        const std::string name = fs::relative(entry.path(), device()).string();
        if (!entry.is_directory() && name != ".kelvane/library.sqlite" && name != ".kelvane/lock"
            && !name.starts_with(".kelvane/artwork/"))
            files.push_back(name);
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> SyncFixture::sourceFiles() const
{
    std::vector<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(source()))
        if (entry.is_regular_file())
            files.push_back(entry.path().string());
    return files;
}

void SyncFixture::expectComplete() const
{
    const std::map<std::string, Json> items = library();
    const std::vector<std::string> files = sourceFiles();
    EXPECT_EQ(items.size(), files.size());
    std::vector<std::string> copies;
    for (const std::string &file : files) {
        const auto item = items.find(file);
        ASSERT_NE(item, items.end()) << file << " has no row";
        copies.push_back(item->second["devicePath"]);
        EXPECT_TRUE(read(device(copies.back())) == read(file)) << file << " differs from its copy";
    }
    std::sort(copies.begin(), copies.end());
    EXPECT_EQ(copies, deviceFiles());
}

} // namespace kelvane::testsupport
