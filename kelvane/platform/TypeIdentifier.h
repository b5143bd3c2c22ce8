// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/TypeTag.h>

namespace kelvane {

/// Type identifiers ("public.jpeg"): one name for a kind of file, whether it is met as a file name extension or as a
/// MIME type. The types are those that the original platform declares. For anything else there are dynamic
/// identifiers ("dyn.a…"), which carry the extension or MIME type they were made from, so that every extension and
/// every MIME type has exactly one identifier.
///
/// Extensions and MIME types are matched whatever the case of their letters from A to Z.
///
/// Threads: any.
/// Errors: nothing throws but std::bad_alloc; what is not known gives a null string.
class KELVANE_EXPORT TypeIdentifier {
public:
    TypeIdentifier() = delete;

    /// The preferred identifier for a file name extension, given without its dot; a dynamic one where no type
    /// declares it. Null for null alone.
    [[nodiscard]] static String forExtension(const String &extension);
    /// The same for a MIME type.
    [[nodiscard]] static String forMimeType(const String &mimeType);

    /// The MIME type that the type prefers; null where it declares none. What a dynamic identifier of an extension
    /// lacks may come from the system's list of MIME types (the shared MIME-info database), where it has one.
    [[nodiscard]] static String mimeType(const String &identifier);
    /// The extension that the type prefers, without a dot; null where it declares none. For dynamic identifiers of
    /// MIME types as above.
    [[nodiscard]] static String extension(const String &identifier);

    /// The identifiers that the type declares to be a kind of, as texts: none where it is not known.
    [[nodiscard]] static Array parents(const String &identifier);
    /// Whether the type is the other one or, by any number of steps, a kind of it.
    [[nodiscard]] static bool conformsTo(const String &identifier, const String &other);

    /// Whether the text is one of the identifiers made from a tag.
    [[nodiscard]] static bool isDynamic(const String &identifier) noexcept;
    /// The dynamic identifier of a tag, whether or not a type declares it. Null for a null tag, and for a base type
    /// other than "public.data", "public.text" and "public.image", for which there is no short form.
    [[nodiscard]] static String dynamicIdentifier(const TypeTag &tag);
    /// What a dynamic identifier was made from; a null tag where it is none, or is damaged.
    [[nodiscard]] static TypeTag dynamicTag(const String &identifier);
};

} // namespace kelvane
