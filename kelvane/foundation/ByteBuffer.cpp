// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/detail/ByteBuffer.h>

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace kelvane::detail {

// Standard layout by hand: the NUL that data() points at follows the header directly.
struct EmptyByteBuffer {
    ByteBuffer header{RefCounted::Immortal{}, 0};
    char terminator[sizeof(void *)] = {};
};

namespace {
constinit EmptyByteBuffer emptyBuffer;
}

Ref<ByteBuffer> ByteBuffer::create(std::size_t size)
{
    if (size == 0)
        return Ref<ByteBuffer>::adopt(&emptyBuffer.header);
    if (size > std::numeric_limits<std::size_t>::max() / 2)
        throw std::length_error("kelvane: byte buffer too large");
    void *memory = ::operator new(sizeof(ByteBuffer) + size + 1);
    auto *buffer = new (memory) ByteBuffer(size);
    buffer->data()[size] = '\0';
    return Ref<ByteBuffer>::adopt(buffer);
}

void ByteBuffer::destroy(const ByteBuffer *buffer) noexcept
{
    buffer->~ByteBuffer();
    ::operator delete(const_cast<ByteBuffer *>(buffer));
}

} // namespace kelvane::detail
