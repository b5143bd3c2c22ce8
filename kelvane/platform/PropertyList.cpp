// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/PropertyList.h>

#include <kelvane/platform/BinaryPropertyList_p.h>
#include <kelvane/platform/TextPropertyList_p.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

#include <plist/plist.h>

// XML goes through the binary form on its way in and out: the nodes of libplist cannot tell -1 from the largest
// unsigned number, while its binary writer and reader can.

namespace kelvane {

namespace {

struct FreeNode {
    void operator()(void *node) const noexcept { plist_free(node); }
};
struct FreeMemory {
    void operator()(char *memory) const noexcept { std::free(memory); }
};
using Node = std::unique_ptr<void, FreeNode>;
using Memory = std::unique_ptr<char, FreeMemory>;

/// What ends the markup that `text` begins with.
std::string_view terminatorOf(std::string_view text) noexcept
{
    return text.starts_with("<!--")     ? "-->"
        : text.starts_with("<![CDATA[") ? "]]>"
        : text.starts_with("<?")        ? "?>"
                                        : ">";
}

/// Whether the elements of an XML text nest deeper than they may, or declare what could hide that. libplist sets no
/// limit, and frees what it read by one call inside the other.
bool isNestedTooDeep(std::string_view xml) noexcept
{
    int depth = 0;
    std::size_t at = 0;
    while ((at = xml.find('<', at)) != std::string_view::npos) {
        const auto rest = xml.substr(at);
        const auto terminator = terminatorOf(rest);
        const std::size_t end = rest.find(terminator, terminator == "-->" ? 4 : 1);
        if (end == std::string_view::npos)
            return false; // the parser stops here, too
        if (rest.starts_with("<!DOCTYPE") && rest.substr(0, end).find('[') != std::string_view::npos)
            return true;
        if (rest.starts_with("</"))
            --depth;
        else if (terminator == ">" && rest[1] != '!' && rest[end - 1] != '/')
            ++depth;
        // Two more for <plist> and the innermost value.
        if (depth > PropertyList::deepest + 2)
            return true;
        at += end + terminator.size();
    }
    return false;
}

Value readXml(std::string_view xml)
{
    if (xml.size() > std::numeric_limits<std::uint32_t>::max() || isNestedTooDeep(xml))
        return {};
    plist_t read = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &read);
    const Node node(read);
    if (!node)
        return {};
    char *bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_bin(node.get(), &bytes, &size);
    const Memory binary(bytes);
    return bytes ? detail::readBinaryPropertyList(std::string_view(bytes, size)) : Value();
}

/// Whether a text or a key in `value`, which is a property list, holds a NUL: XML cannot, and libplist would cut it off.
bool holdsNul(const Value &value)
{
    const auto hasNul = [](const String &text) { return text.view().find('\0') != std::string_view::npos; };
    const Dictionary pairs = value.dictionary();
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (hasNul(pairs.keyAt(i)) || holdsNul(pairs.valueAt(i)))
            return true;
    }
    const Array values = value.array();
    return hasNul(value.string()) || std::any_of(values.begin(), values.end(), holdsNul);
}

} // namespace

Data PropertyList::toBinary(const Value &value)
{
    return detail::writeBinaryPropertyList(value);
}

Data PropertyList::toXml(const Value &value)
{
    const Data binary = toBinary(value);
    if (binary.isNull() || holdsNul(value) || binary.size() > std::numeric_limits<std::uint32_t>::max())
        return {};
    plist_t read = nullptr;
    plist_from_bin(binary.view().data(), static_cast<std::uint32_t>(binary.size()), &read);
    const Node node(read);
    if (!node)
        return {};
    char *bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(node.get(), &bytes, &size);
    const Memory xml(bytes);
    return bytes ? Data(bytes, size) : Data();
}

Value PropertyList::read(const Data &data)
{
    auto bytes = data.view();
    if (bytes.empty())
        return {};
    if (bytes.starts_with("bplist"))
        return detail::readBinaryPropertyList(bytes);
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    const std::size_t start = bytes.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos)
        return {};
    const auto text = bytes.substr(start);
    if (text.starts_with("<?xml") || text.starts_with("<!") || text.starts_with("<plist"))
        return readXml(text);
    const String valid = String::fromUtf8(bytes);
    return valid.isNull() ? Value() : detail::readTextPropertyList(valid.view());
}

Dictionary PropertyList::readStringsFile(const String &text)
{
    if (text.isNull())
        return {};
    return detail::readStringsFile(text.view());
}

} // namespace kelvane
