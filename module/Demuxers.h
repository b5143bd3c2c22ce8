// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SourceFile.h"

namespace kelvane::module {

/// The name of the demuxer for a file, told from its first bytes, and where tags come before the audio, from the bytes
/// behind them; null for what is not among the kinds of files that are read. There is no trying out of demuxers, which
/// takes far longer than all the rest, and none is ever chosen that would open other files (playlists).
[[nodiscard]] const char *demuxerFor(SourceFile &file);

} // namespace kelvane::module
