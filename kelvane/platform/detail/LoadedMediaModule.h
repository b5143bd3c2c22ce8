// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaModule.h"

#include <memory>

namespace kelvane::detail {

/// The media module, loaded by the first call from any thread; null where there is none, or one of another version.
[[nodiscard]] const MediaModule *mediaModule();

struct ReleaseFromMediaModule {
    void operator()(const MediaFacts *facts) const { mediaModule()->releaseFacts(facts); }
    void operator()(const MediaPicture *picture) const { mediaModule()->releasePicture(picture); }
};

/// What the module handed out, given back to it.
using OwnedMediaFacts = std::unique_ptr<const MediaFacts, ReleaseFromMediaModule>;
using OwnedMediaPicture = std::unique_ptr<const MediaPicture, ReleaseFromMediaModule>;

} // namespace kelvane::detail
