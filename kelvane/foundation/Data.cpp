// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Data.h>

#include <cstring>

namespace kelvane {

Data::Data(std::span<const std::byte> bytes) : Data(bytes.data(), bytes.size()) {}

Data::Data(const void *bytes, std::size_t size) : _buffer(detail::ByteBuffer::create(size))
{
    if (size > 0)
        std::memcpy(_buffer->data(), bytes, size);
}

} // namespace kelvane
