// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/UserDefaults.h>

#include "UserDefaultsFile_p.h"

#include <kelvane/platform/Bundle.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/ZenLogger.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <pwd.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace kelvane {

namespace {

/// Where the user's programs keep what is chosen in them; null for a user without a home.
String configurationFolder()
{
    const char *folder = std::getenv("XDG_CONFIG_HOME");
    if (folder && *folder == '/') // a relative one is to be ignored
        return folder;
    const char *home = std::getenv("HOME");
    if (!home || !*home) {
        const passwd *user = getpwuid(getuid());
        home = user ? user->pw_dir : nullptr;
    }
    return home && *home == '/' ? appendingPathComponent(home, ".config") : String();
}

String standardPath()
{
    const String folder = configurationFolder();
    const String program = lastPathComponent(Bundle::mainBundle().executablePath());
    if (folder.isNull() || program.isEmpty())
        return {};
    return appendingPathComponent(appendingPathComponent(folder, program), "defaults.plist");
}

} // namespace

struct UserDefaults::Private {
    using Content = UserDefaultsFile::Content;
    using State = UserDefaultsFile::State;

    explicit Private(const String &path) : file(path) {}

    /// Everything, as it is now. What is wrong with the file is told once.
    Dictionary read()
    {
        Content content;
        bool isNews = false;
        {
            const std::lock_guard guard(mutex);
            if (known && known->identity == file.identity() && known->state != State::Unreadable)
                return known->values;
            content = file.read();
            isNews = !known || known->state != content.state || known->error != content.error;
            known = content;
        }
        // Without the lock: the log's sink may be the application's, and may read these defaults.
        if (isNews && content.state == State::Damaged)
            report("it is no property list; it will be set aside by the first change");
        else if (isNews && content.state == State::Unreadable)
            report(std::strerror(content.error));
        return content.values;
    }

    /// Replaces the value of `key`. What there is to report, and whether it is done.
    [[nodiscard]] std::pair<std::string, bool> update(
        const String &key, const std::function<Value(const Value &)> &change) const
    {
        const UserDefaultsFile::Lock lock(file);
        if (!lock.isHeld())
            return {std::strerror(lock.error()), false};
        const Content content = file.read();
        std::string news;
        if (content.state == State::Unreadable)
            return {std::strerror(content.error), false};
        if (content.state == State::Damaged) {
            const String aside = file.setAside();
            if (aside.isNull())
                return {"it is no property list and cannot be set aside", false};
            news = "it was no property list and has been set aside as " + aside.str();
        }
        Dictionary values = content.values;
        values.set(key, change(values[key.view()]));
        if (const int error = file.replace(values))
            return {std::strerror(error), false};
        return {news, true};
    }

    void report(std::string_view reason) const
    {
        ZenLogger::defaultLogger().ZenLogError(String::concat({"user defaults ", file.path().view(), ": ", reason}));
    }

    const UserDefaultsFile file;
    std::mutex mutex;
    std::optional<Content> known; // what was read last; guarded by mutex
};

UserDefaults &UserDefaults::standardUserDefaults()
{
    // Never destroyed: threads that outlive main() may still ask.
    static auto &defaults = *new UserDefaults(standardPath());
    return defaults;
}

UserDefaults::UserDefaults(const String &path) : d(std::make_unique<Private>(path)) {}

UserDefaults::~UserDefaults() = default;

const String &UserDefaults::path() const noexcept
{
    return d->file.path();
}

Value UserDefaults::objectForKey(const String &key) const
{
    return d->read()[key.view()];
}

Dictionary UserDefaults::dictionaryForKey(const String &key) const
{
    return objectForKey(key).dictionary();
}

Dictionary UserDefaults::dictionaryRepresentation() const
{
    return d->read();
}

bool UserDefaults::setObject(const Value &value, const String &key)
{
    return update(key, [&](const Value &) { return value; });
}

bool UserDefaults::removeObjectForKey(const String &key)
{
    return setObject(nullptr, key);
}

bool UserDefaults::update(const String &key, const std::function<Value(const Value &)> &change)
{
    if (key.isNull())
        return false;
    const auto [news, isDone] = d->update(key, change);
    if (!news.empty())
        d->report(news);
    return isDone;
}

} // namespace kelvane
