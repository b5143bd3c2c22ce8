// SPDX-License-Identifier: Apache-2.0
// Want of memory.
#include "FaultLayer_p.h"

#include <sys/mman.h>

using namespace kelvane::testsupport;

#define FAULTY_MAP(name)                                                                                               \
    FAULTY(void *, name, FaultMemory, MAP_FAILED, (void *p, std::size_t n, int protection, int o, int f, off_t at),    \
        (p, n, protection, o, f, at))
FAULTY_MAP(mmap)
FAULTY_MAP(mmap64)

#ifdef KELVANE_FAULTS_IN_MEMORY

// The allocator by the names that it has within the C library: a lookup of the next one would allocate.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *room, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
}

#define FAULTY_ALLOCATION(name, parameters, arguments)                                                                 \
    EXPORTED void *faulty_##name parameters STANDS_FOR(#name);                                                         \
    extern "C" void *faulty_##name parameters                                                                          \
    {                                                                                                                  \
        return isHit(#name, FaultMemory) ? failed<void *>(nullptr) : __libc_##name arguments;                          \
    }
FAULTY_ALLOCATION(malloc, (std::size_t n), (n))
FAULTY_ALLOCATION(calloc, (std::size_t c, std::size_t n), (c, n))
FAULTY_ALLOCATION(realloc, (void *r, std::size_t n), (r, n))
FAULTY_ALLOCATION(memalign, (std::size_t a, std::size_t n), (a, n))
EXPORTED void *faulty_aligned_alloc(std::size_t alignment, std::size_t size) STANDS_FOR("aligned_alloc");
extern "C" void *faulty_aligned_alloc(std::size_t alignment, std::size_t size)
{
    return faulty_memalign(alignment, size);
}
EXPORTED int faulty_posix_memalign(void **room, std::size_t alignment, std::size_t size) STANDS_FOR("posix_memalign");
extern "C" int faulty_posix_memalign(void **room, std::size_t alignment, std::size_t size)
{
    const int before = errno;
    void *made = faulty_memalign(alignment, size);
    errno = before;
    if (made)
        *room = made;
    return made ? 0 : ENOMEM;
}

EXPORTED int kelvane_fault_has_memory()
{
    return 1;
}

#else

// The sanitizer's allocator stands first. What C++ allocates in a test is hit by FaultyNew.cpp.
EXPORTED int kelvane_fault_has_memory()
{
    return 0;
}

#endif
