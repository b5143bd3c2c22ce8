// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"
#include "SyncRecord.h"

#include <kelvane/storage/SqliteHelper.h>

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::tool {

/// The database of what is on a device, at .kelvane/library.sqlite; LibrarySchema tells its tables.
///
/// Threads: any thread, any operation.
/// Errors: LibraryError with what the database says. Opening throws StopError, and leaves a file that is no library, one
/// of a later version, or one with tables, views or triggers that are not ours, as it is.
class DeviceLibrary {
public:
    class LibraryError : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// A file that is on its way to `target` on the device.
    struct Transfer {
        std::string target;
        std::string source;
        FileStamp stamp;
    };
    /// A file that belongs to no item any more.
    struct Removal {
        std::string devicePath;
        FileStamp stamp;
    };
    /// The picture of the item whose file is at `devicePath`.
    struct ItemArtwork {
        std::string devicePath;
        std::string artworkPath; // "" for none
        bool isKnown; // false where nobody has looked for one yet
    };

    static constexpr const char *folder = ".kelvane";
    static constexpr const char *fileName = ".kelvane/library.sqlite";

    [[nodiscard]] static bool exists(DeviceFolder &device);
    /// Throws StopError where there is none, with what to do about it; `verb` tells what is not possible without.
    static void require(DeviceFolder &device, std::string_view verb);
    /// Makes an empty library where there is none, and removes what is left of making one; the folder is there.
    static void create(DeviceFolder &device);
    /// Opens the library, which exists.
    explicit DeviceLibrary(DeviceFolder &device);
    DeviceLibrary(const DeviceLibrary &) = delete;
    DeviceLibrary &operator=(const DeviceLibrary &) = delete;
    ~DeviceLibrary() = default;

    /// Prepares for writing: a library of an earlier version becomes one of this; changes go to a log that is fast to
    /// append to.
    void beginWriting();
    /// Brings everything to the device and leaves one plain file, which a read-only mount can be asked about too.
    void endWriting();
    /// Brings all changes so far to the device itself.
    void makeDurable();

    /// Hands over all items in the order of their sources. `withMedia`: with their tags. They are read a few at a time: a
    /// large library takes no more memory than a small one, and is not locked while `take` runs.
    void forEachRecord(bool withMedia, const std::function<void(std::shared_ptr<SyncRecord>)> &take);
    /// Writes an item, in place of the one of the same source.
    void save(const SyncRecord &record);
    /// Forgets an item.
    void remove(const std::string &source);

    [[nodiscard]] std::vector<Transfer> transfers();
    /// Writes all of them, durably, or none.
    void planTransfers(const std::vector<Transfer> &transfers);
    void dropTransfers(const std::vector<std::string> &targets);
    [[nodiscard]] std::vector<Removal> removals();
    void dropRemovals(const std::vector<Removal> &removals);

    /// Hands over the pictures of all items; see forEachRecord().
    void forEachArtwork(const std::function<void(const ItemArtwork &)> &take);
    void setArtwork(const std::string &devicePath, const std::string &artworkPath);

private:
    void upgrade();
    void execute(const std::string &sql, const Array &values = nullptr);
    void transaction(const std::function<void()> &changes);
    void forEachItem(
        const std::string &columns, const std::string &key, const std::function<void(const Dictionary &)> &take);
    [[nodiscard]] Array rows(const std::string &sql, const Array &values = nullptr);
    [[noreturn]] void fail();

    std::mutex _mutex;
    const std::unique_ptr<SqliteHelper> _helper; // guarded by _mutex
};

} // namespace kelvane::tool
