// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kelvane {

/// Width and height of a picture, in pixels.
struct Size {
    double width = 0;
    double height = 0;

    friend bool operator==(const Size &, const Size &) = default;
};

} // namespace kelvane
