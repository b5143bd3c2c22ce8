// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Handles.h"

#include <string>

namespace kelvane::module {

/// Whether a stream is a picture that goes with the sound: it makes no film of it.
[[nodiscard]] bool isCover(const AVStream &stream);
/// The first stream of a kind that is no cover; null where there is none.
[[nodiscard]] const AVStream *mainStream(const AVFormatContext &format, AVMediaType type);
/// Seconds; 0 where unknown.
[[nodiscard]] double durationOf(const AVFormatContext &format);
/// Whether the header left open what is to be known of the streams.
[[nodiscard]] bool needsAnalysis(const AVFormatContext &format);
/// The name of a codec for people.
[[nodiscard]] std::string codecName(AVCodecID codec);

} // namespace kelvane::module
