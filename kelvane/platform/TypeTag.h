// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

namespace kelvane {

/// The kinds of marks by which files tell their type; the numbers are those inside dynamic identifiers.
enum class TypeTagClass { FilenameExtension = 1, OSType = 2, MimeType = 3, PasteboardType = 4 };

/// One such mark, as a dynamic type identifier carries it (see TypeIdentifier).
///
/// Threads: one at a time.
struct TypeTag {
    TypeTagClass tagClass = TypeTagClass::FilenameExtension;
    /// The extension, MIME type or code itself; null where there is none.
    String tag;
    /// The type that the unknown type is taken to be a kind of; null where the identifier names none that is known.
    String conformsTo = "public.data";
};

} // namespace kelvane
