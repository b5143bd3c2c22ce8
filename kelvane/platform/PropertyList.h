// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>

namespace kelvane {

/// Property lists: values written down as binary (format version 1.0), as XML or as text.
///
/// A property list holds texts, numbers, dates, data, arrays and dictionaries. A keyed archive's UID reads as a
/// dictionary with the one key "CF$UID".
///
/// Threads: any.
/// Errors: what cannot be written or read gives null or nil. Input from strangers takes time and memory linear in its
/// size; nesting deeper than `deepest` is refused.
class KELVANE_EXPORT PropertyList {
public:
    PropertyList() = delete;

    /// How many arrays and dictionaries may lie inside one another.
    static constexpr int deepest = 128;

    /// The binary form; null where `value` holds nil, the null object, an Object or is nested too deep.
    [[nodiscard]] static Data toBinary(const Value &value);
    /// The XML form; null for the same reasons, and where a text holds a NUL, which XML cannot.
    [[nodiscard]] static Data toXml(const Value &value);

    /// The property list in `data`, whichever its form; nil where it is none.
    [[nodiscard]] static Value read(const Data &data);
    /// The pairs of a strings file, `"key" = "value";` one after the other, in braces or not. Values may be arrays,
    /// dictionaries and data as well; `key;` alone stands for a value equal to its key; a text without any pairs is an
    /// empty dictionary. Null where the text has another form, a semicolon that is missing at its end included.
    [[nodiscard]] static Dictionary readStringsFile(const String &text);
};

} // namespace kelvane
