// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kelvane {

/// The kinds of picture files that are told apart, by what is in them and not by their names.
enum class ImageFormat { Unknown, Jpeg, Png, Gif, Bmp, Tiff, WebP, Heic };

} // namespace kelvane
