// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/LargePages.h>

#include <cstdint>

#include <sys/mman.h>

namespace kelvane::detail {

void preferLargePages(std::span<std::byte> memory) noexcept
{
    constexpr std::uintptr_t largePage = 2 << 20;
    const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
    const std::uintptr_t start = (address + largePage - 1) / largePage * largePage;
    const std::uintptr_t end = (address + memory.size()) / largePage * largePage;
    if (end > start)
        static_cast<void>(madvise(reinterpret_cast<void *>(start), end - start, MADV_HUGEPAGE));
}

} // namespace kelvane::detail
