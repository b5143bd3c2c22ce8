// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/TypeIdentifier.h>

#include "detail/DynamicTypeText.h"
#include "detail/MimeGlobs.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

struct Declaration {
    std::string_view identifier;
    // Separated by commas, the preferred one first.
    std::string_view extensions;
    std::string_view mimeTypes;
    std::string_view parents;
};

#define TYPE(identifier, extensions, mimeTypes, parents) {identifier, extensions, mimeTypes, parents},
constexpr Declaration declarations[] = {
#include "detail/DeclaredTypes.def"
};

/// What stands for the base type inside a dynamic identifier.
struct Base {
    char code;
    std::string_view identifier;
};
constexpr Base bases[] = {{'6', "public.data"}, {'7', "public.text"}, {'B', "public.image"}};

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char &c : lower)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    return lower;
}

template <class Take>
void forEachOf(std::string_view list, Take take)
{
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        take(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

String firstOf(std::string_view list)
{
    return list.empty() ? String() : String(list.substr(0, list.find(',')));
}

/// The declarations by one of their lists, sorted; of equal keys the first declared is found.
class Index {
public:
    explicit Index(std::string_view Declaration::*list)
    {
        for (const Declaration &declaration : declarations)
            forEachOf(
                declaration.*list, [&](std::string_view key) { _rows.emplace_back(lowerCase(key), &declaration); });
        std::stable_sort(_rows.begin(), _rows.end(), [](const Row &a, const Row &b) { return a.first < b.first; });
    }

    [[nodiscard]] const Declaration *find(std::string_view key) const
    {
        const auto found = std::lower_bound(_rows.begin(), _rows.end(), key,
            [](const Row &row, std::string_view wanted) { return row.first < wanted; });
        return found != _rows.end() && found->first == key ? found->second : nullptr;
    }

private:
    using Row = std::pair<std::string, const Declaration *>;
    std::vector<Row> _rows;
};

const Declaration *declarationOf(const String &identifier)
{
    static const Index index(&Declaration::identifier);
    return index.find(lowerCase(identifier.view()));
}

String identifierFor(const Index &index, TypeTagClass tagClass, const String &tag)
{
    if (tag.isNull())
        return nullptr;
    const std::string key = lowerCase(tag.view());
    const Declaration *found = index.find(key);
    return found ? String(found->identifier) : TypeIdentifier::dynamicIdentifier({tagClass, key});
}

/// What follows the base in the text of a dynamic identifier: "1=ogg".
TypeTag tagOf(std::string_view text, String base)
{
    if (text.size() < 2 || text[0] < '1' || text[0] > '4' || text[1] != '=')
        return {};
    return {static_cast<TypeTagClass>(text[0] - '0'), text.substr(2), std::move(base)};
}

String orNull(std::string_view text)
{
    return text.empty() ? String() : String(text);
}

} // namespace

String TypeIdentifier::forExtension(const String &extension)
{
    static const Index index(&Declaration::extensions);
    return identifierFor(index, TypeTagClass::FilenameExtension, extension);
}

String TypeIdentifier::forMimeType(const String &mimeType)
{
    static const Index index(&Declaration::mimeTypes);
    return identifierFor(index, TypeTagClass::MimeType, mimeType);
}

String TypeIdentifier::mimeType(const String &identifier)
{
    if (const Declaration *declaration = declarationOf(identifier))
        return firstOf(declaration->mimeTypes);
    const TypeTag tag = dynamicTag(identifier);
    if (tag.tag.isNull() || tag.tagClass == TypeTagClass::MimeType)
        return tag.tag;
    if (tag.tagClass != TypeTagClass::FilenameExtension)
        return nullptr;
    return orNull(detail::MimeGlobs::system().mimeTypeOf(lowerCase(tag.tag.view())));
}

String TypeIdentifier::extension(const String &identifier)
{
    if (const Declaration *declaration = declarationOf(identifier))
        return firstOf(declaration->extensions);
    const TypeTag tag = dynamicTag(identifier);
    if (tag.tag.isNull() || tag.tagClass == TypeTagClass::FilenameExtension)
        return tag.tag;
    if (tag.tagClass != TypeTagClass::MimeType)
        return nullptr;
    return orNull(detail::MimeGlobs::system().extensionOf(lowerCase(tag.tag.view())));
}

Array TypeIdentifier::parents(const String &identifier)
{
    Array found = Array::empty();
    if (const Declaration *declaration = declarationOf(identifier))
        forEachOf(declaration->parents, [&](std::string_view parent) { found.append(String(parent)); });
    else if (const TypeTag tag = dynamicTag(identifier); !tag.tag.isNull() && !tag.conformsTo.isNull())
        found.append(tag.conformsTo);
    return found;
}

bool TypeIdentifier::conformsTo(const String &identifier, const String &other)
{
    if (identifier.isNull() || other.isNull())
        return false;
    if (lowerCase(identifier.view()) == lowerCase(other.view()))
        return true;
    // The declarations have no circles: each way up ends.
    const Array above = parents(identifier);
    return std::any_of(
        above.begin(), above.end(), [&](const Value &parent) { return conformsTo(parent.string(), other); });
}

bool TypeIdentifier::isDynamic(const String &identifier) noexcept
{
    return identifier.view().starts_with(detail::dynamicTypePrefix);
}

String TypeIdentifier::dynamicIdentifier(const TypeTag &tag)
{
    const auto *const base = std::find_if(std::begin(bases), std::end(bases),
        [&](const Base &candidate) { return tag.conformsTo == candidate.identifier; });
    if (tag.tag.isNull() || base == std::end(bases))
        return nullptr;
    const char tagClass = static_cast<char>('0' + static_cast<int>(tag.tagClass));
    const char start[] = {'?', '0', '=', base->code, ':', tagClass, '='};
    return detail::encodeDynamicType(std::string(start, sizeof start).append(tag.tag.view()));
}

TypeTag TypeIdentifier::dynamicTag(const String &identifier)
{
    constexpr std::string_view baseMark = "?0=";
    const String decoded = detail::decodeDynamicType(identifier.view());
    std::string_view text = decoded.view();
    if (!text.starts_with(baseMark))
        return tagOf(text, nullptr); // short forms that name no base
    const std::string_view code = text.substr(baseMark.size(), text.find(':') - baseMark.size());
    text.remove_prefix(std::min(baseMark.size() + code.size() + 1, text.size()));
    for (const Base &base : bases) {
        if (code.size() == 1 && code[0] == base.code)
            return tagOf(text, base.identifier);
    }
    return tagOf(text, nullptr);
}

} // namespace kelvane
