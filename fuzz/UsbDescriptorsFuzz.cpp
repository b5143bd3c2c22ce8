// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/detail/UsbDescriptors.h>

// The descriptors that a device answers, whole and cut off.
void kelvane::fuzz(std::string_view input)
{
    constexpr std::size_t shortest = 9;
    const auto read = [](std::string_view bytes) {
        return detail::readUsbDescriptors(std::as_bytes(std::span(bytes.data(), bytes.size())));
    };
    const auto all = read(input);
    std::size_t found = all.size();
    for (const auto &configuration : all)
        found += configuration.interfaces.size();
    require(found * shortest <= input.size(), "everything has its bytes in the answer");

    const auto some = read(input.substr(0, input.size() / 2));
    require(some.size() <= all.size(), "what is cut off has no more in it");
    for (std::size_t i = 0; i < some.size(); ++i) {
        const auto &whole = all[i].interfaces;
        const auto &cut = some[i].interfaces;
        require(some[i].value == all[i].value && cut.size() <= whole.size(), "what is cut off begins as the whole");
        for (std::size_t k = 0; k < cut.size(); ++k)
            require(cut[k] == whole[k], "what is cut off begins as the whole");
    }
}
