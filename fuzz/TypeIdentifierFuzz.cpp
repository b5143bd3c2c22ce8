// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/media/MimeTypes.h>
#include <kelvane/platform/TypeIdentifier.h>

namespace kelvane {
namespace {

// Dynamic identifiers carry what they were made from.
void checkDynamic(const String &identifier)
{
    const TypeTag tag = TypeIdentifier::dynamicTag(identifier);
    if (tag.tag.isNull())
        return;
    require(TypeIdentifier::isDynamic(identifier), "only a dynamic identifier carries a tag");
    const String again = TypeIdentifier::dynamicIdentifier(tag);
    if (again.isNull())
        return;
    const TypeTag same = TypeIdentifier::dynamicTag(again);
    require(same.tag == tag.tag && same.tagClass == tag.tagClass && same.conformsTo == tag.conformsTo,
        "a tag survives its identifier");
}

} // namespace
} // namespace kelvane

// A text as an identifier, an extension, a MIME type and the name of a file.
void kelvane::fuzz(std::string_view input)
{
    const String text(input);
    checkDynamic(text);
    for (const char *base : {"public.data", "public.text", "public.image"}) {
        const TypeTag tag = TypeIdentifier::dynamicTag(
            TypeIdentifier::dynamicIdentifier({TypeTagClass::FilenameExtension, text, base}));
        require(tag.tag == text && tag.tagClass == TypeTagClass::FilenameExtension && tag.conformsTo == base,
            "a tag survives its identifier");
    }
    for (const String &identifier : {text, TypeIdentifier::forExtension(text), TypeIdentifier::forMimeType(text)}) {
        require(TypeIdentifier::conformsTo(identifier, identifier), "a type is a kind of itself");
        for (const Value &parent : TypeIdentifier::parents(identifier))
            require(TypeIdentifier::conformsTo(identifier, parent.string()), "a type is a kind of its parents");
        static_cast<void>(TypeIdentifier::mimeType(identifier));
        static_cast<void>(TypeIdentifier::extension(identifier));
    }
    require(!MimeTypes::mimeTypeByExtension(text).isNull() && !MimeTypes::mimeTypeByFileName(text).isNull()
            && !MimeTypes::UTIByExtension(text).isNull() && !MimeTypes::UTIByMimeType(text).isNull(),
        "what has no type has the empty text");
    const auto mediaType = MimeTypes::mediaTypeByMimeType(text);
    require(mediaType >= 0 && (mediaType & (mediaType - 1)) == 0, "a media type is one bit");
}
