// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/ByteBuffer.h>
#include <kelvane/foundation/Export.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace kelvane {

/// Immutable, shared, nullable bytes, one pointer wide. Copying is a reference-count step.
///
/// Null (absent) and empty are different, as with String.
///
/// Threads: a Data object belongs to one thread at a time, its bytes may be shared by any number of them.
/// Errors: nothing throws but std::bad_alloc and std::length_error where memory ends.
class KELVANE_EXPORT Data {
public:
    /// No data.
    constexpr Data() noexcept = default;
    constexpr Data(std::nullptr_t) noexcept {}
    /// A copy of `bytes`.
    explicit Data(std::span<const std::byte> bytes);
    Data(const void *bytes, std::size_t size);

    /// `size` bytes that `fill` writes in place (it gets a std::span<std::byte>): saves the copy.
    template <class Fill>
    [[nodiscard]] static Data create(std::size_t size, Fill &&fill)
    {
        auto buffer = detail::ByteBuffer::create(size);
        if (size > 0)
            fill(std::span(reinterpret_cast<std::byte *>(buffer->data()), size));
        return Data(std::move(buffer));
    }

    [[nodiscard]] bool isNull() const noexcept { return !_buffer; }
    /// True for empty and for null data.
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }
    /// Length in bytes.
    [[nodiscard]] std::size_t size() const noexcept { return _buffer ? _buffer->size() : 0; }
    /// Valid as long as a Data with these bytes lives.
    [[nodiscard]] std::span<const std::byte> bytes() const noexcept
    {
        return {reinterpret_cast<const std::byte *>(_buffer ? _buffer->data() : nullptr), size()};
    }
    /// The same bytes as characters, for parsers that take text.
    [[nodiscard]] std::string_view view() const noexcept { return {_buffer ? _buffer->data() : "", size()}; }

    /// Compares bytes; null equals only null.
    friend bool operator==(const Data &a, const Data &b) noexcept
    {
        return a._buffer.get() == b._buffer.get() || (a.isNull() == b.isNull() && a.view() == b.view());
    }
    /// Whether both are one and the same object, as a copy is.
    friend bool isSameObject(const Data &a, const Data &b) noexcept { return a._buffer.get() == b._buffer.get(); }

private:
    explicit Data(detail::Ref<detail::ByteBuffer> buffer) noexcept : _buffer(std::move(buffer)) {}

    detail::Ref<detail::ByteBuffer> _buffer;
};

} // namespace kelvane
