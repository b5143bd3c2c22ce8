// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Value.h>

namespace kelvane {

class MediaBase;

/// One field of a media record, for code that goes through all of them: JSON, a database row, a comparison.
/// MediaBase::fields() gives the list.
///
/// Threads: any; a field never changes.
struct MediaField {
    /// The property's name, "title".
    const char *name;
    /// What get() gives where the field is present. `resolution` is a dictionary of "width" and "height".
    Value::Kind kind;
    /// False for the fields that a copy of a record leaves at their initial values.
    bool isCopied;
    /// The field's value: nil for an absent text, date or object.
    Value (*get)(const MediaBase &record);
    /// Takes a value of any kind through the conversions of Value; nil and the null object make a number 0 and a
    /// text, date or object absent. A number given to a date is seconds since 1970, as the databases store dates.
    void (*set)(MediaBase &record, const Value &value);
};

} // namespace kelvane
