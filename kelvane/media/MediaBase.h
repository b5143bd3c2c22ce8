// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/detail/RefCounted.h>
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
/// Errors: nothing throws but std::bad_alloc.
class KELVANE_EXPORT MediaBase {
public:
    MediaBase();
    virtual ~MediaBase();
    MediaBase(const MediaBase &) = delete;
    MediaBase &operator=(const MediaBase &) = delete;

    /// @selector copyWithZone:
    /// A new record of this record's class (see newInstance()) with this record's fields, but for `dbSize` and
    /// `titleSort`, which keep their initial values. Fields that a derived class adds are not copied; a derived class
    /// that wants them copied overrides this. One small allocation: the two share their fields until one is changed.
    [[nodiscard]] virtual std::shared_ptr<MediaBase> copy() const;
    /// copy(), under the name that lists of records use.
    [[nodiscard]] std::shared_ptr<MediaBase> clone() const { return copy(); }

    // One reader and one writer for each field: `title()` and `setTitle(title)`. What a reader gives is valid until the
    // record changes. detail/MediaBaseFields.def lists the fields with their types and meanings.
#define FIELD(type, name, setter, initial, copied)                                                                     \
    [[nodiscard]] const type &name() const noexcept                                                                    \
    {                                                                                                                  \
        return read##copied().name;                                                                                    \
    }                                                                                                                  \
    void setter(type value)                                                                                            \
    {                                                                                                                  \
        change##copied().name = std::move(value);                                                                      \
    }
#include <kelvane/media/detail/MediaBaseFields.def>

    /// Another name for `playedDate`.
    [[nodiscard]] const Date &lastPlayDate() const noexcept
    {
        return playedDate();
    }
    void setLastPlayDate(Date date)
    {
        setPlayedDate(date);
    }
    /// Another name for `skippedDate`.
    [[nodiscard]] const Date &lastSkipDate() const noexcept
    {
        return skippedDate();
    }
    void setLastSkipDate(Date date)
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
#define ONLY_Copied(declaration) declaration
#define ONLY_NotCopied(declaration)
    struct CopiedFields {
#define FIELD(type, name, setter, initial, copied) ONLY_##copied(type name = initial;)
#include <kelvane/media/detail/MediaBaseFields.def>
    };
#undef ONLY_Copied
#undef ONLY_NotCopied
#define ONLY_Copied(declaration)
#define ONLY_NotCopied(declaration) declaration
    struct OtherFields {
#define FIELD(type, name, setter, initial, copied) ONLY_##copied(type name = initial;)
#include <kelvane/media/detail/MediaBaseFields.def>
    };
#undef ONLY_Copied
#undef ONLY_NotCopied

    /// What a record shares with its copies until one of them changes; new records share theirs, too.
    struct Shared : detail::RefCounted {
        using RefCounted::RefCounted;
        static void destroy(const Shared *shared) noexcept { delete shared; }

        CopiedFields fields;
    };

    [[nodiscard]] const CopiedFields &readCopied() const noexcept
    {
        return _shared->fields;
    }
    [[nodiscard]] const OtherFields &readNotCopied() const noexcept
    {
        return _other;
    }
    CopiedFields &changeCopied()
    {
        if (!_shared->isUnique())
            separate();
        return _shared->fields;
    }
    OtherFields &changeNotCopied() noexcept
    {
        return _other;
    }
    void separate();
    [[nodiscard]] static Shared *initial();

    // Programs keep hundreds of thousands of records, most of their fields absent.
    static_assert(sizeof(Shared) + sizeof(OtherFields) + 2 * sizeof(void *) <= 640);

    detail::Ref<Shared> _shared;
    OtherFields _other;
};

} // namespace kelvane
