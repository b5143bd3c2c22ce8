// SPDX-License-Identifier: Apache-2.0
#include "DeviceLibrary.h"

#include "ExitCode.h"
#include "LibrarySchema.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <kelvane/foundation/Value.h>
#include <string_view>
#include <unistd.h>

namespace kelvane::tool {
namespace {

constexpr const char *newFileName = ".kelvane/library.sqlite.new";

[[noreturn]] void refuse(DeviceFolder &device, const std::string &reason)
{
    throw StopError(ExitCannotStart,
        "cannot use the device's library " + inQuotes(device.absolutePath(DeviceLibrary::fileName)) + ": " + reason);
}

std::uint32_t numberAt(std::string_view header, std::size_t at)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8 | static_cast<unsigned char>(header[at + i]);
    return number;
}

// Looks at the file without the database engine, which would already repair and so change a file that is not ours.
void checkHeader(DeviceFolder &device)
{
    constexpr std::string_view magic("SQLite format 3\0", 16);
    constexpr std::size_t versionAt = 60;
    constexpr std::size_t applicationIdAt = 68;
    std::array<char, 100> bytes{};
    if (!device.stampOf(DeviceLibrary::fileName))
        refuse(device, "it is no regular file");
    const FileDescriptor file = device.openFile(DeviceLibrary::fileName);
    const ssize_t count = ::read(file.get(), bytes.data(), bytes.size());
    if (count < 0)
        refuse(device, reasonText(errno));
    const std::string_view header(bytes.data(), bytes.size());
    if (count != static_cast<ssize_t>(bytes.size()) || header.substr(0, magic.size()) != magic)
        refuse(device, "it is not a database");
    if (numberAt(header, applicationIdAt) != LibrarySchema::applicationId)
        refuse(device, "it is a database of another application");
    const std::uint32_t version = numberAt(header, versionAt);
    if (version > LibrarySchema::version)
        refuse(device,
            "its version is " + std::to_string(version) + ", this program knows versions up to "
                + std::to_string(LibrarySchema::version));
    if (version == 0)
        refuse(device, "it has no version");
}

// A view in the place of a table, or one more trigger, could keep every question busy for ever. What ANALYZE leaves is
// SQLite's own.
void checkSchema(DeviceFolder &device, SqliteHelper &helper)
{
    const std::vector<std::string> own = LibrarySchema::statements();
    const Array rows = helper.executeDataTable("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL AND NOT (type = "
                                               "'table' AND name GLOB 'sqlite_stat[0-9]')");
    for (const Value &row : rows)
        if (std::find(own.begin(), own.end(), row.dictionary()["sql"].string().view()) == own.end())
            refuse(device, "it holds tables, views or triggers that are not the library's");
}

FileStamp stampOfRow(const Dictionary &row, const char *size, const char *modified)
{
    return {row[size].longLongValue(), row[modified].longLongValue()};
}

} // namespace

bool DeviceLibrary::exists(DeviceFolder &device)
{
    return device.isTaken(fileName);
}

void DeviceLibrary::require(DeviceFolder &device, std::string_view verb)
{
    if (!exists(device))
        throw StopError(ExitCannotStart,
            "cannot " + std::string(verb) + ' ' + inQuotes(device.path())
                + ": it has no library; \"kelvane sync SOURCE " + printable(device.path()) + "\" makes one");
}

void DeviceLibrary::create(DeviceFolder &device)
{
    // Made under another name, so that the real one is complete from its first moment. An ended run may have left that
    // name behind, even where the library has got its own.
    for (const char *suffix : {"", "-journal", "-wal", "-shm"})
        device.removeFile(std::string(newFileName) + suffix);
    if (exists(device))
        return;
    SqliteHelper helper(device.pinnedPath(newFileName));
    for (const std::string &statement : LibrarySchema::statements())
        if (!helper.goodConnection() || !helper.connection()->executeUpdate(statement)) {
            const String &reason = helper.connection()->lastErrorMessage();
            refuse(device, "it cannot be made: " + printable(reason.isNull() ? "cannot open the file" : reason.view()));
        }
    helper.close();
    if (!device.publish(newFileName, fileName))
        refuse(device, "somebody else made it");
}

DeviceLibrary::DeviceLibrary(DeviceFolder &device)
    : _helper((checkHeader(device), std::make_unique<SqliteHelper>(device.pinnedPath(fileName))))
{
    if (!_helper->goodConnection())
        refuse(device, "it cannot be opened");
    checkSchema(device, *_helper);
    const bool isReadable = _helper->connection()->executeQuery("SELECT 1 FROM media, transfer, removal") != nullptr;
    if (!isReadable)
        refuse(device, printable(_helper->connection()->lastErrorMessage().view()));
}

void DeviceLibrary::fail()
{
    const FMDatabase *connection = _helper->connection();
    const String reason = connection ? connection->lastErrorMessage() : String();
    throw LibraryError("device library: " + printable(reason.isNull() ? "cannot be opened" : reason.view()));
}

void DeviceLibrary::execute(const std::string &sql, const Array &values)
{
    if (!_helper->goodConnection() || !_helper->connection()->executeUpdate(sql, values))
        fail();
}

// Not the helper's executeUpdate(), which does not tell whether the commit succeeded: on a full device that is where
// it fails.
void DeviceLibrary::transaction(const std::function<void()> &changes)
{
    const std::lock_guard guard(_mutex);
    if (!_helper->goodConnection() || !_helper->beginTransaction())
        fail();
    try {
        changes();
        if (!_helper->commit())
            fail();
    } catch (...) {
        _helper->rollback();
        throw;
    }
}

Array DeviceLibrary::rows(const std::string &sql, const Array &values)
{
    const std::lock_guard guard(_mutex);
    Array table = _helper->executeDataTable(sql, values);
    // Rows that could be read before an error would pass for all there are.
    if (table.isNull() || _helper->connection()->lastErrorCode() != 0)
        fail();
    return table;
}

// The rows of all items, page by page, in the order of the column `key`, which no two of them share. Whatever kind of
// value a strange library has there, the next page is behind it.
void DeviceLibrary::forEachItem(
    const std::string &columns, const std::string &key, const std::function<void(const Dictionary &)> &take)
{
    const std::string select = "SELECT " + columns + " FROM media";
    const std::string inOrder = " ORDER BY " + key + " LIMIT 500";
    for (Array page = rows(select + inOrder); !page.isEmpty();) {
        for (const Value &row : page)
            take(row.dictionary());
        const Value last = page[page.size() - 1].dictionary()[key];
        page = rows(select + " WHERE " + key + " > ?" + inOrder, {last});
    }
}

void DeviceLibrary::beginWriting()
{
    upgrade();
    const std::lock_guard guard(_mutex);
    execute("PRAGMA journal_mode = WAL");
    execute("PRAGMA synchronous = NORMAL");
}

void DeviceLibrary::endWriting()
{
    const std::lock_guard guard(_mutex);
    execute("PRAGMA journal_mode = DELETE");
    _helper->close();
}

void DeviceLibrary::makeDurable()
{
    const std::lock_guard guard(_mutex);
    execute("PRAGMA wal_checkpoint(FULL)");
}

void DeviceLibrary::forEachRecord(bool withMedia, const std::function<void(std::shared_ptr<SyncRecord>)> &take)
{
    const std::string columns =
        withMedia ? "*" : "source, sourceSize, sourceModifiedNs, devicePath, deviceSize, deviceModifiedNs";
    forEachItem(columns, "source", [&](const Dictionary &row) {
        auto record = std::make_shared<SyncRecord>();
        record->source = row["source"].string().str();
        record->sourceStamp = stampOfRow(row, "sourceSize", "sourceModifiedNs");
        record->devicePath = row["devicePath"].string().str();
        record->deviceStamp = stampOfRow(row, "deviceSize", "deviceModifiedNs");
        if (withMedia)
            record->media = LibrarySchema::mediaOfRow(row);
        take(std::move(record));
    });
}

void DeviceLibrary::save(const SyncRecord &record)
{
    Array values{String(record.source), record.sourceStamp.size, record.sourceStamp.modifiedNs,
        String(record.devicePath), record.deviceStamp.size, record.deviceStamp.modifiedNs};
    LibrarySchema::appendFields(values, *record.media);
    transaction([&] { execute(LibrarySchema::saveStatement(), values); });
}

void DeviceLibrary::remove(const std::string &source)
{
    transaction([&] { execute("DELETE FROM media WHERE source = ?", {String(source)}); });
}

std::vector<DeviceLibrary::Transfer> DeviceLibrary::transfers()
{
    std::vector<Transfer> transfers;
    for (const Value &value : rows("SELECT * FROM transfer")) {
        const Dictionary row = value.dictionary();
        transfers.push_back(
            {row["target"].string().str(), row["source"].string().str(), stampOfRow(row, "size", "modifiedNs")});
    }
    return transfers;
}

void DeviceLibrary::planTransfers(const std::vector<Transfer> &transfers)
{
    transaction([&] {
        for (const Transfer &transfer : transfers)
            execute("INSERT OR REPLACE INTO transfer VALUES(?, ?, ?, ?)",
                {String(transfer.target), String(transfer.source), transfer.stamp.size, transfer.stamp.modifiedNs});
    });
    makeDurable();
}

void DeviceLibrary::dropTransfers(const std::vector<std::string> &targets)
{
    transaction([&] {
        for (const std::string &target : targets)
            execute("DELETE FROM transfer WHERE target = ?", {String(target)});
    });
}

std::vector<DeviceLibrary::Removal> DeviceLibrary::removals()
{
    std::vector<Removal> removals;
    for (const Value &value : rows("SELECT * FROM removal")) {
        const Dictionary row = value.dictionary();
        removals.push_back({row["devicePath"].string().str(), stampOfRow(row, "size", "modifiedNs")});
    }
    return removals;
}

void DeviceLibrary::forEachArtwork(const std::function<void(const ItemArtwork &)> &take)
{
    forEachItem("Id, devicePath, devArtworkPath", "Id", [&](const Dictionary &row) {
        const String path = row["devArtworkPath"].string();
        take({row["devicePath"].string().str(), path.isNull() ? "" : path.str(), !path.isNull()});
    });
}

void DeviceLibrary::setArtwork(const std::string &devicePath, const std::string &artworkPath)
{
    transaction([&] {
        execute("UPDATE media SET devArtworkPath = ? WHERE devicePath = ?", {String(artworkPath), String(devicePath)});
    });
}

void DeviceLibrary::upgrade()
{
    const Array version = rows("PRAGMA user_version");
    const std::int32_t from = version.isEmpty() ? 0 : version[0].dictionary()["user_version"].intValue();
    const std::vector<std::string> statements = LibrarySchema::upgradeStatements(from);
    if (!statements.empty())
        transaction([&] {
            for (const std::string &statement : statements)
                execute(statement);
        });
}

void DeviceLibrary::dropRemovals(const std::vector<Removal> &removals)
{
    transaction([&] {
        for (const Removal &removal : removals)
            execute("DELETE FROM removal WHERE devicePath = ?", {String(removal.devicePath)});
    });
}

} // namespace kelvane::tool
