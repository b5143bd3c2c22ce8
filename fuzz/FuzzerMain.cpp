// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <cstddef>
#include <cstdint>

// libFuzzer has the main() and calls this.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    kelvane::fuzz(size == 0 ? std::string_view("") : std::string_view(reinterpret_cast<const char *>(data), size));
    return 0;
}
