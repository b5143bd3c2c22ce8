// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/UserDefaults.h>

#include "UserDefaultsFile_p.h"

#include <kelvane/platform/Bundle.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/ZenLogger.h>

#include <cerrno>
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
    explicit Private(String path) : file(std::move(path)) {}

    /// Everything, as it is now. An unreadable file is told of once.
    Dictionary read()
    {
        const std::lock_guard guard(mutex);
        const UserDefaultsFile::Identity now = file.identity();
        if (known && *known == now)
            return values;
        const UserDefaultsFile::Content content = file.read();
        known = content.identity;
        values = content.values;
        if (content.state == UserDefaultsFile::State::Damaged)
            report("it is no property list; it will be set aside by the first change");
        else if (content.state == UserDefaultsFile::State::Unreadable)
            report(std::strerror(content.error));
        return values;
    }

    void report(std::string_view reason) const
    {
        ZenLogger::defaultLogger().ZenLogError(String::concat({"user defaults ", file.path().view(), ": ", reason}));
    }

    UserDefaultsFile file;
    std::mutex mutex;
    // What was read last, and from which file; guarded by mutex.
    std::optional<UserDefaultsFile::Identity> known;
    Dictionary values = Dictionary::empty();
};

UserDefaults &UserDefaults::standardUserDefaults()
{
    // Never destroyed: threads that outlive main() may still ask.
    static auto &defaults = *new UserDefaults(standardPath());
    return defaults;
}

UserDefaults::UserDefaults(String path) : d(std::make_unique<Private>(std::move(path))) {}

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
    UserDefaultsFile::Lock lock(d->file);
    if (!lock.isHeld()) {
        d->report(std::strerror(lock.error()));
        return false;
    }
    const UserDefaultsFile::Content content = d->file.read();
    if (content.state == UserDefaultsFile::State::Unreadable) {
        d->report(std::strerror(content.error));
        return false;
    }
    if (content.state == UserDefaultsFile::State::Damaged) {
        const String aside = d->file.setAside();
        if (aside.isNull()) {
            d->report("it is no property list and cannot be set aside");
            return false;
        }
        d->report("it was no property list and has been set aside as " + aside.str());
    }
    Dictionary values = content.values;
    values.set(key, change(values[key.view()]));
    if (const int error = d->file.replace(values)) {
        d->report(std::strerror(error));
        return false;
    }
    return true;
}

} // namespace kelvane
