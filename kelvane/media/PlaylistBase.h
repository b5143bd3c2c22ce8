// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/media/PlaylistItems.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace kelvane {

/// The plain record of one playlist, as a device's or a library's database describes it: identity, parent folder, smart
/// rules, play settings, items. A new record has zeros, false, and everything else absent, the list of items as well.
///
/// Threads: a record belongs to one thread at a time.
/// Ownership: owns its texts, buffers and dates as copies (which cost a reference count); shares its list of items.
/// Errors: nothing here fails.
class KELVANE_EXPORT PlaylistBase {
public:
    PlaylistBase() = default;
    virtual ~PlaylistBase() = default;
    PlaylistBase(const PlaylistBase &) = delete;
    PlaylistBase &operator=(const PlaylistBase &) = delete;

    /// @selector copyWithZone:
    /// A new record of this record's class (see newInstance()) with this record's fields.
    /// Intended: the copy's items are a read-only snapshot, which holds the same item objects; who wants to change a
    /// copy's items gives it a new list first. Programs hand copies to other threads to show, and rely on nobody
    /// changing what is shown. Fields that a derived class adds are not copied.
    [[nodiscard]] virtual std::shared_ptr<PlaylistBase> copy() const;

    // One reader and one writer for each field: `title()` and `setTitle(title)`. detail/PlaylistFields.def lists the
    // fields with their types and meanings.
#define FIELD(type, name, setter)                                                                                      \
    [[nodiscard]] const type &name() const noexcept                                                                    \
    {                                                                                                                  \
        return _fields.name;                                                                                           \
    }                                                                                                                  \
    void setter(type value) noexcept                                                                                   \
    {                                                                                                                  \
        _fields.name = std::move(value);                                                                               \
    }
#include <kelvane/media/detail/PlaylistFields.def>

protected:
    /// A new record of the same class as this one, in its initial state. Every derived class overrides it with
    /// `return std::make_shared<Derived>();`, or its copies are plain records.
    [[nodiscard]] virtual std::shared_ptr<PlaylistBase> newInstance() const;

private:
    struct Fields {
#define FIELD(type, name, setter) type name{};
#include <kelvane/media/detail/PlaylistFields.def>
    };

    Fields _fields;
};

} // namespace kelvane
