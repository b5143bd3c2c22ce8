// SPDX-License-Identifier: Apache-2.0
#include "PowerLoss.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;

std::string folderOf(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string nameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string joined(const std::string &folder, const std::string &name)
{
    return folder.empty() ? name : folder + '/' + name;
}

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void setTime(const std::string &path, std::int64_t nanoseconds)
{
    const timespec time{nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    const timespec times[] = {time, time};
    ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

void put(std::string &content, std::size_t position, std::string_view bytes)
{
    if (content.size() < position + bytes.size())
        content.resize(position + bytes.size());
    bytes.copy(content.data() + position, bytes.size());
}

} // namespace

PowerLoss::PowerLoss(const std::string &folder)
{
    load(folder, "");
}

void PowerLoss::load(const std::string &folder, const std::string &relative)
{
    Folder &loaded = _folders[relative];
    for (const auto &entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (entry.is_directory()) {
            loaded.certain[name] = isFolder;
            load(entry.path(), joined(relative, name));
            continue;
        }
        struct stat status {};
        ::stat(entry.path().c_str(), &status);
        const std::int64_t time = status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec;
        loaded.certain[name] = _files.size();
        _numbers[status.st_ino] = _files.size();
        _files.push_back({readFile(entry.path()), {}, time, time});
    }
}

PowerLoss::FileNumber PowerLoss::numberOf(const std::string &path) const
{
    const Folder &folder = _folders.at(folderOf(path));
    for (auto change = folder.changes.rbegin(); change != folder.changes.rend(); ++change)
        if (const auto found = change->find(nameOf(path)); found != change->end())
            return found->second;
    const auto found = folder.certain.find(nameOf(path));
    return found == folder.certain.end() ? isNothing : found->second;
}

void PowerLoss::change(const std::string &path, FileNumber number)
{
    _folders.at(folderOf(path)).changes.push_back({{nameOf(path), number}});
}

void PowerLoss::rename(const std::string &from, const std::string &to)
{
    if (folderOf(from) != folderOf(to))
        throw std::logic_error("renames between folders are not known here");
    const FileNumber number = numberOf(from);
    _folders.at(folderOf(from)).changes.push_back({{nameOf(from), isNothing}, {nameOf(to), number}});
}

void PowerLoss::addChange(std::uint64_t inode, Change change)
{
    _files.at(_numbers.at(inode)).changes.push_back(std::move(change));
}

void PowerLoss::apply(const RecordedCall &call)
{
    switch (call.kind) {
    case CallKind::Create:
    case CallKind::CreateNameless:
        _numbers[call.inode] = _files.size();
        _files.emplace_back();
        if (call.kind == CallKind::Create)
            change(call.path, _numbers[call.inode]);
        break;
    case CallKind::Write:
        addChange(call.inode, {call.position, call.bytes, false});
        break;
    case CallKind::Truncate:
        addChange(call.inode, {call.position, {}, true});
        break;
    case CallKind::Attributes:
        _files.at(_numbers.at(call.inode)).time = call.position;
        break;
    case CallKind::Link:
        change(call.path, _numbers.at(call.inode));
        break;
    case CallKind::Rename:
        rename(call.path, call.other);
        break;
    case CallKind::Unlink:
    case CallKind::RemoveFolder:
        change(call.path, isNothing);
        break;
    case CallKind::MakeFolder:
        change(call.path, isFolder);
        _folders[call.path];
        break;
    case CallKind::Sync: {
        File &file = _files.at(_numbers.at(call.inode));
        std::mt19937 unused;
        file.certain = contentOf(file, Luck::Data::All, unused);
        file.changes.clear();
        file.certainTime = file.time;
        break;
    }
    case CallKind::SyncFolder: {
        Folder &folder = _folders.at(call.path);
        std::mt19937 unused;
        folder.certain = namesIn(folder, Luck::Names::All, unused);
        folder.changes.clear();
        break;
    }
    case CallKind::Failed:
        break;
    }
}

std::map<std::string, PowerLoss::FileNumber> PowerLoss::namesIn(
    const Folder &folder, Luck::Names luck, std::mt19937 &random) const
{
    std::size_t count = folder.changes.size();
    if (luck == Luck::Names::None)
        count = 0;
    else if (luck == Luck::Names::Some)
        count = std::uniform_int_distribution<std::size_t>(0, count)(random);
    std::map<std::string, FileNumber> names = folder.certain;
    for (std::size_t i = 0; i < count; ++i)
        for (const auto &[name, number] : folder.changes[i])
            names[name] = number;
    std::erase_if(names, [](const auto &entry) { return entry.second == isNothing; });
    return names;
}

std::string PowerLoss::contentOf(const File &file, Luck::Data luck, std::mt19937 &random) const
{
    constexpr std::size_t sector = 512; // what a disk writes whole or not at all
    std::string content = file.certain;
    if (luck == Luck::Data::Lost)
        return content;
    for (const Change &change : file.changes) {
        const auto position = static_cast<std::size_t>(change.position);
        if (change.isSize) {
            content.resize(position);
            continue;
        }
        std::size_t kept = change.bytes.size();
        if (luck == Luck::Data::Zeros)
            kept = 0;
        else if (luck == Luck::Data::Some)
            kept = std::min(kept, std::uniform_int_distribution<std::size_t>(0, kept / sector + 1)(random) * sector);
        put(content, position, std::string_view(change.bytes).substr(0, kept));
        if (content.size() < position + change.bytes.size())
            content.resize(position + change.bytes.size());
    }
    return content;
}

void PowerLoss::makeFolder(
    const std::string &path, const std::string &relative, const Luck &luck, std::mt19937 &random) const
{
    fs::create_directory(path);
    for (const auto &[name, number] : namesIn(_folders.at(relative), luck.names, random)) {
        const std::string full = path + '/' + name;
        if (number == isFolder) {
            makeFolder(full, joined(relative, name), luck, random);
            continue;
        }
        const File &file = _files[number];
        std::ofstream(full, std::ios::binary) << contentOf(file, luck.data, random);
        const std::int64_t time = luck.data == Luck::Data::Lost ? file.certainTime : file.time;
        if (time >= 0)
            setTime(full, time);
    }
}

void PowerLoss::materialise(const std::string &folder, const Luck &luck) const
{
    std::mt19937 random(luck.seed);
    makeFolder(folder, "", luck, random);
}

} // namespace kelvane::testsupport
