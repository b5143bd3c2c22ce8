// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/Size.h>
#include <kelvane/foundation/String.h>
#include <kelvane/media/MediaField.h>

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

namespace kelvane {

/// The plain record of one media item (a song, a video, a podcast episode), wherever items are listed or moved: in a
/// library on the computer, in a device's database, in local files. It has no behaviour beyond copying; whoever
/// fills it gives its codes (`mediaKind`, `mediaType`, `category`, `storeMedium`, `syncSource`) their meaning.
///
/// A new record has zeros, false, absent texts and dates, but for `storeMedium` 2 and `mimeType` "".
///
/// Threads: a record belongs to one thread at a time; records that share texts or artwork may be on different ones.
/// Ownership: owns its texts and dates as copies (which cost a reference count); shares `artworkObj`.
/// Errors: nothing here fails.
class KELVANE_EXPORT MediaBase {
public:
    MediaBase() = default;
    virtual ~MediaBase() = default;
    MediaBase(const MediaBase &) = delete;
    MediaBase &operator=(const MediaBase &) = delete;

    /// @selector copyWithZone:
    /// A new record of this record's class (see newInstance()) with this record's fields, but for `dbSize` and
    /// `titleSort`, which keep their initial values. Fields that a derived class adds are not copied; a derived class
    /// that wants them copied overrides this. One allocation.
    [[nodiscard]] virtual std::shared_ptr<MediaBase> copy() const;
    /// copy(), under the name that lists of records use.
    [[nodiscard]] std::shared_ptr<MediaBase> clone() const { return copy(); }

    // One reader and one writer for each field: `title()` and `setTitle(title)`. detail/MediaBaseFields.def lists
    // the fields with their types and meanings.
#define FIELD(type, name, setter, initial, copied)                                                                     \
    [[nodiscard]] const type &name() const noexcept                                                                    \
    {                                                                                                                  \
        return _fields.name;                                                                                           \
    }                                                                                                                  \
    void setter(type value) noexcept                                                                                   \
    {                                                                                                                  \
        _fields.name = std::move(value);                                                                               \
    }
#include <kelvane/media/detail/MediaBaseFields.def>

    /// Another name for `playedDate`.
    [[nodiscard]] const Date &lastPlayDate() const noexcept
    {
        return playedDate();
    }
    void setLastPlayDate(Date date) noexcept
    {
        setPlayedDate(date);
    }
    /// Another name for `skippedDate`.
    [[nodiscard]] const Date &lastSkipDate() const noexcept
    {
        return skippedDate();
    }
    void setLastSkipDate(Date date) noexcept
    {
        setSkippedDate(date);
    }

    /// The fields of every record, in declared order; the two other names above are none.
    [[nodiscard]] static std::span<const MediaField> fields() noexcept;

protected:
    /// A new record of the same class as this one, in its initial state. Every derived class overrides it with
    /// `return std::make_shared<Derived>();`, or its copies are plain records.
    [[nodiscard]] virtual std::shared_ptr<MediaBase> newInstance() const;

private:
    struct Fields {
#define FIELD(type, name, setter, initial, copied) type name = initial;
#include <kelvane/media/detail/MediaBaseFields.def>
    };

    Fields _fields;
};

// Programs keep hundreds of thousands of records, most of their fields absent.
static_assert(sizeof(MediaBase) <= 640);

} // namespace kelvane
