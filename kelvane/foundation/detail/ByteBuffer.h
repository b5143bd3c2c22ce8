// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/RefCounted.h>
#include <kelvane/foundation/Export.h>

#include <cstddef>

namespace kelvane::detail {

/// The one allocation behind a String or a Data: count, length, bytes, and a NUL after them.
class KELVANE_EXPORT ByteBuffer : public RefCounted {
public:
    /// A new buffer of `size` bytes that are not yet set, or the shared empty one. Throws std::bad_alloc or
    /// std::length_error where memory does not allow it.
    static Ref<ByteBuffer> create(std::size_t size);
    static void destroy(const ByteBuffer *buffer) noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return _size; }
    [[nodiscard]] char *data() noexcept { return reinterpret_cast<char *>(this + 1); }
    [[nodiscard]] const char *data() const noexcept { return reinterpret_cast<const char *>(this + 1); }

private:
    friend struct EmptyByteBuffer;
    explicit ByteBuffer(std::size_t size) noexcept : _size(size) {}
    constexpr ByteBuffer(Immortal mark, std::size_t size) noexcept : RefCounted(mark), _size(size) {}

    std::size_t _size;
};

} // namespace kelvane::detail
