// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kelvane::detail {

using HeifBytes = std::span<const std::byte>;

/// Reads big-endian numbers off the front of some bytes. A read that does not fit takes nothing, gives 0 or no bytes,
/// and leaves the reader failed, so that a caller may look once, at the end.
class HeifReader {
public:
    explicit HeifReader(HeifBytes bytes) noexcept : _rest(bytes) {}

    [[nodiscard]] bool isFailed() const noexcept { return _isFailed; }
    [[nodiscard]] bool isAtEnd() const noexcept { return _isFailed || _rest.empty(); }
    [[nodiscard]] HeifBytes rest() const noexcept { return _rest; }

    /// `count` may come straight from the file: it is compared, never added to anything.
    HeifBytes take(std::uint64_t count) noexcept;
    /// A number of 0 to 8 bytes; 0 for none.
    std::uint64_t number(std::size_t bytes) noexcept;
    std::uint8_t byte() noexcept { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t half() noexcept { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t word() noexcept { return static_cast<std::uint32_t>(number(4)); }
    /// The number of an item, whose size depends on the version of the box that it stands in.
    std::uint32_t item(bool isLong) noexcept { return isLong ? word() : half(); }

private:
    HeifBytes _rest;
    bool _isFailed = false;
};

/// Four characters as a number.
[[nodiscard]] constexpr std::uint32_t fourCharacters(std::string_view text) noexcept
{
    std::uint32_t code = 0;
    for (const char character : text.substr(0, 4))
        code = code << 8 | static_cast<unsigned char>(character);
    return code;
}

struct HeifBox {
    std::uint32_t type = 0;
    HeifBytes body; ///< without the header; with version and flags where the type has them
};

/// The next box of those that follow each other in `reader`; nothing at the end, or where it does not fit.
[[nodiscard]] std::optional<HeifBox> nextHeifBox(HeifReader &reader) noexcept;

/// The items of a "meta" box, looked up in the box itself: nothing is built that could grow with what the file claims.
/// What is asked for takes one pass over the box concerned.
class HeifItems {
public:
    /// Reads bytes of the file, fewer than asked for where it ends.
    using ReadFile = std::function<std::vector<std::byte>(std::uint64_t offset, std::uint64_t size)>;

    /// `meta` is the body of the box, and outlives this. No item holds more than the `fileSize` bytes of its file.
    HeifItems(HeifBytes meta, ReadFile readFile, std::uint64_t fileSize);

    [[nodiscard]] std::uint32_t primary() const noexcept { return _primary; }
    /// Code of four characters, 0 for an item that is not there.
    [[nodiscard]] std::uint32_t typeOf(std::uint32_t item) const noexcept;
    /// The items of a type, `limit` at most; with `contentType` those of that MIME type.
    [[nodiscard]] std::vector<std::uint32_t> itemsOfType(
        std::uint32_t type, std::size_t limit, std::string_view contentType = {}) const;
    /// The item's properties in the order in which they apply, 64 at most.
    [[nodiscard]] std::vector<HeifBox> propertiesOf(std::uint32_t item) const;
    /// The items that have a reference of this type to `target`, `limit` at most.
    [[nodiscard]] std::vector<std::uint32_t> referencesTo(
        std::uint32_t target, std::uint32_t type, std::size_t limit) const;
    /// The items that `item` has a reference of this type to: for a grid its tiles, in their order.
    [[nodiscard]] std::vector<std::uint32_t> referencesOf(std::uint32_t item, std::uint32_t type) const;
    /// What the item holds, empty where that is over `limit` bytes or not all there.
    [[nodiscard]] std::vector<std::byte> contentOf(std::uint32_t item, std::size_t limit) const;
    /// How many bytes the item says that it holds, 0 where that is more than its file does.
    [[nodiscard]] std::uint64_t contentSizeOf(std::uint32_t item) const noexcept;

private:
    // A number that belongs to an item: its type, or where its entry in a box begins.
    struct Entry {
        std::uint32_t item;
        std::uint32_t value;
    };
    // In the order of the items, so that a grid of thousands of tiles finds each of them at once.
    using Index = std::vector<Entry>;
    struct Location;

    [[nodiscard]] static const Entry *find(const Index &index, std::uint32_t item) noexcept;
    static void sort(Index &index);
    void indexTypes();
    void indexLocations();
    void indexProperties();
    [[nodiscard]] std::optional<Location> locationOf(std::uint32_t item) const noexcept;
    void visitItems(const std::function<bool(std::uint32_t, std::uint32_t, HeifBytes)> &visit) const;
    void visitReferences(std::uint32_t type, const std::function<bool(std::uint32_t, HeifReader &, bool)> &visit) const;
    [[nodiscard]] std::vector<std::size_t> propertyNumbersOf(std::uint32_t item) const;

    ReadFile _readFile;
    std::uint64_t _fileSize;
    std::uint32_t _primary = 0;
    HeifBytes _infos; // iinf
    HeifBytes _locations; // iloc
    HeifBytes _references; // iref
    HeifBytes _associations; // ipma
    HeifBytes _data; // idat
    std::vector<HeifBox> _properties; // ipco
    Index _typeIndex;
    Index _locationIndex;
    Index _associationIndex;
};

} // namespace kelvane::detail
