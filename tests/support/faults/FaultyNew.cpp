// SPDX-License-Identifier: Apache-2.0
//
// Want of memory where a sanitizer has brought its allocator, which nothing can stand before: what C++ allocates, in the
// test and in the libraries that it uses, comes here, because a program's own operators go before those of libraries.
#include "FaultReport.h"

#include <cstdlib>
#include <new>

using namespace kelvane::testsupport;

namespace {

void *allocated(std::size_t size, std::size_t alignment) noexcept
{
    if (kelvane_fault_is_hit("operator new", FaultMemory) != 0)
        return nullptr;
    if (size == 0)
        size = 1;
    return alignment == 0 ? std::malloc(size)
                          : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void *allocatedOrThrown(std::size_t size, std::size_t alignment)
{
    void *room = allocated(size, alignment);
    return room ? room : throw std::bad_alloc();
}

} // namespace

// NOLINTBEGIN(cppcoreguidelines-no-malloc)
void *operator new(std::size_t size)
{
    return allocatedOrThrown(size, 0);
}
void *operator new[](std::size_t size)
{
    return allocatedOrThrown(size, 0);
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return allocated(size, 0);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return allocated(size, 0);
}
void *operator new(std::size_t size, std::align_val_t alignment)
{
    return allocatedOrThrown(size, static_cast<std::size_t>(alignment));
}
void *operator new[](std::size_t size, std::align_val_t alignment)
{
    return allocatedOrThrown(size, static_cast<std::size_t>(alignment));
}
void operator delete(void *room) noexcept
{
    std::free(room);
}
void operator delete[](void *room) noexcept
{
    std::free(room);
}
void operator delete(void *room, std::size_t) noexcept
{
    std::free(room);
}
void operator delete[](void *room, std::size_t) noexcept
{
    std::free(room);
}
void operator delete(void *room, std::align_val_t) noexcept
{
    std::free(room);
}
void operator delete[](void *room, std::align_val_t) noexcept
{
    std::free(room);
}
void operator delete(void *room, std::size_t, std::align_val_t) noexcept
{
    std::free(room);
}
void operator delete[](void *room, std::size_t, std::align_val_t) noexcept
{
    std::free(room);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
