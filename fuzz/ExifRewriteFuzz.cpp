// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/detail/ExifOrientation.h>
#include <kelvane/platform/ImageSource.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kelvane {
namespace {

std::vector<std::byte> bytesOf(std::string_view text)
{
    std::vector<std::byte> bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(), [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

} // namespace
} // namespace kelvane

// A byte with the orientation, then the EXIF block of a picture that is written anew, which is an XMP packet as well.
void kelvane::fuzz(std::string_view input)
{
    const auto orientation = static_cast<std::uint16_t>(1 + (input.empty() ? 0 : (input[0] & 7)));
    input.remove_prefix(input.empty() ? 0 : 1);
    const std::vector<std::byte> block = bytesOf(input);
    const auto written = detail::exifWith({orientation, 640, 480}, block);
    require(!written.empty() && written.size() < 2 * block.size() + 64, "a block grows by an entry at the most");
    // What begins as neither of the two kinds of TIFF blocks is read by nobody.
    const auto source = ImageSource::fromData(Data(std::span(written)));
    require(!source || source->orientation() == orientation, "the orientation that was written is read");

    const auto xmp = detail::xmpWithOrientation(orientation, block);
    require(xmp.size() == block.size(), "an XMP packet keeps its size");
    require(detail::xmpWithOrientation(orientation, xmp) == xmp, "writing once more changes nothing");
}
