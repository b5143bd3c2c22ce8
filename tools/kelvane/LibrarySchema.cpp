// SPDX-License-Identifier: Apache-2.0
#include "LibrarySchema.h"

#include <kelvane/foundation/Value.h>

#include <string_view>

namespace kelvane::tool::LibrarySchema {
namespace {

constexpr const char *artworkIndex = "CREATE INDEX media_artwork ON media(devArtworkPath)";
constexpr const char *ownColumns = "source, sourceSize, sourceModifiedNs, devicePath, deviceSize, deviceModifiedNs";

// The row's number is the record's Id; objects in memory have no place in a database.
bool isColumn(const MediaField &field)
{
    return field.kind != Value::Kind::Object && std::string_view(field.name) != "Id";
}

const char *columnType(Value::Kind kind)
{
    switch (kind) {
    case Value::Kind::Bool:
    case Value::Kind::Int64:
    case Value::Kind::UInt64:
        return "INTEGER";
    case Value::Kind::Double:
    case Value::Kind::Date:
        return "REAL";
    default:
        return "TEXT";
    }
}

String sizeText(const Dictionary &size)
{
    return size["width"].stringValue() + "x" + size["height"].stringValue();
}

Dictionary sizeOfText(const String &text)
{
    const std::string_view view = text.view();
    const std::size_t cross = view.find('x');
    const String height = cross == std::string_view::npos ? String() : String(view.substr(cross + 1));
    return {{"width", text.doubleValue()}, {"height", height.doubleValue()}};
}

template <class Append>
std::string forEachColumn(Append append)
{
    std::string text;
    for (const MediaField &field : MediaBase::fields())
        if (isColumn(field))
            append(text, std::string(field.name), field.kind);
    return text;
}

} // namespace

std::vector<std::string> statements()
{
    const std::string fields = forEachColumn([](std::string &text, const std::string &name, Value::Kind kind) {
        text += ", \"" + name + "\" " + columnType(kind);
    });
    const std::string media =
        "CREATE TABLE media(Id INTEGER PRIMARY KEY, source TEXT NOT NULL UNIQUE, sourceSize INTEGER NOT NULL,"
        " sourceModifiedNs INTEGER NOT NULL, devicePath TEXT NOT NULL UNIQUE, deviceSize INTEGER NOT NULL,"
        " deviceModifiedNs INTEGER NOT NULL"
        + fields + ")";
    const std::string transfer = "CREATE TABLE transfer(target TEXT PRIMARY KEY, source TEXT NOT NULL,"
                                 " size INTEGER NOT NULL, modifiedNs INTEGER NOT NULL) WITHOUT ROWID";
    const std::string removal = "CREATE TABLE removal(devicePath TEXT PRIMARY KEY, size INTEGER NOT NULL,"
                                " modifiedNs INTEGER NOT NULL) WITHOUT ROWID";
    const std::string endTransfer = "DELETE FROM transfer WHERE target = NEW.devicePath; ";
    const std::string beginRemoval =
        "INSERT OR REPLACE INTO removal VALUES(OLD.devicePath, OLD.deviceSize, OLD.deviceModifiedNs); ";
    return {media, transfer, removal, "CREATE TRIGGER media_added AFTER INSERT ON media BEGIN " + endTransfer + "END",
        "CREATE TRIGGER media_moved AFTER UPDATE OF devicePath ON media WHEN OLD.devicePath <> NEW.devicePath BEGIN "
            + endTransfer + beginRemoval + "END",
        "CREATE TRIGGER media_removed AFTER DELETE ON media BEGIN " + beginRemoval + "END", artworkIndex,
        "PRAGMA application_id = " + std::to_string(applicationId), "PRAGMA user_version = " + std::to_string(version)};
}

std::vector<std::string> upgradeStatements(std::int32_t fromVersion)
{
    if (fromVersion >= version)
        return {};
    return {artworkIndex, "PRAGMA user_version = " + std::to_string(version)};
}

const std::string &saveStatement()
{
    static const std::string statement = [] {
        const auto text = [](auto append) { return forEachColumn(append); };
        return "INSERT INTO media(" + std::string(ownColumns)
            + text([](std::string &t, const std::string &name, Value::Kind) { t += ", \"" + name + '"'; })
            + ") VALUES(?, ?, ?, ?, ?, ?" + text([](std::string &t, const std::string &, Value::Kind) { t += ", ?"; })
            + ") ON CONFLICT(source) DO UPDATE SET sourceSize = excluded.sourceSize,"
              " sourceModifiedNs = excluded.sourceModifiedNs, devicePath = excluded.devicePath,"
              " deviceSize = excluded.deviceSize, deviceModifiedNs = excluded.deviceModifiedNs"
            + text([](std::string &t, const std::string &name, Value::Kind) {
                  t += ", \"" + name + "\" = excluded.\"" + name + '"';
              });
    }();
    return statement;
}

void appendFields(Array &values, const MediaBase &media)
{
    for (const MediaField &field : MediaBase::fields()) {
        if (!isColumn(field))
            continue;
        const Value value = field.get(media);
        values.append(field.kind == Value::Kind::Dictionary ? Value(sizeText(value.dictionary())) : value);
    }
}

std::shared_ptr<MediaBase> mediaOfRow(const Dictionary &row)
{
    auto media = std::make_shared<MediaBase>();
    for (const MediaField &field : MediaBase::fields()) {
        if (field.kind == Value::Kind::Object)
            continue;
        const Value &value = row[field.name];
        if (field.kind == Value::Kind::Dictionary)
            field.set(*media, Value(sizeOfText(value.string())));
        else
            field.set(*media, value);
    }
    return media;
}

} // namespace kelvane::tool::LibrarySchema
