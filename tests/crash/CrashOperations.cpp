// SPDX-License-Identifier: Apache-2.0
// One operation of the library as a program, for tests that end it in the middle: OPERATION FILE.
#include <kelvane/foundation/Value.h>
#include <kelvane/media/TagFile.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/UserDefaults.h>
#include <kelvane/storage/SqliteHelper.h>

#include <fcntl.h>
#include <map>
#include <string>
#include <unistd.h>

namespace {

using kelvane::String;

bool writeTags(const String &path)
{
    const auto metadata = kelvane::AudioMetadata::CreateMetadataForURL(path);
    if (!metadata)
        return false;
    // Longer than what the tag has room for, so that all of the file moves.
    metadata->SetTitle(std::string(5000, 'n'));
    metadata->SetArtist("New");
    return metadata->WriteMetadata();
}

bool writeLyrics(const String &path)
{
    return kelvane::TagFile(path).saveLyrics(std::string(5000, 'l'));
}

bool writeDefaults(const String &path)
{
    kelvane::UserDefaults defaults(path);
    bool isGood = true;
    for (int i = 1; i <= 3; ++i)
        isGood = defaults.setObject(i, String("key" + std::to_string(i))) && isGood;
    return isGood;
}

/// A byte in a file beside the database for each update that is acknowledged.
bool updateDatabase(const String &path, const char *journal)
{
    kelvane::SqliteHelper helper(path);
    const int acknowledged =
        ::open((path.str() + "-acknowledged").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (helper.stringForQuery(String::concat({"PRAGMA journal_mode = ", journal})) != String(journal)
        || !helper.executeUpdate("CREATE TABLE IF NOT EXISTS log(id INTEGER PRIMARY KEY, text)"))
        return false;
    const std::int64_t first = helper.longForQuery("SELECT count(*) FROM log") + 1;
    for (std::int64_t id = first; id < first + 4; ++id)
        if (!helper.executeUpdate("INSERT INTO log VALUES(?, ?)", {id, String(std::string(10000, 'x'))})
            || ::write(acknowledged, "+", 1) != 1)
            return false;
    return ::close(acknowledged) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    using Operation = bool (*)(const String &);
    const std::map<std::string, Operation> operations{{"tags", writeTags}, {"lyrics", writeLyrics},
        {"defaults", writeDefaults},
        {"sqlite-delete", [](const String &path) { return updateDatabase(path, "delete"); }},
        {"sqlite-wal", [](const String &path) { return updateDatabase(path, "wal"); }}};
    const auto operation = argc == 3 ? operations.find(argv[1]) : operations.end();
    return operation != operations.end() && operation->second(argv[2]) ? 0 : 1;
}
