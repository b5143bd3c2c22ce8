// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/DecoderModule.h>

#include <mutex>
#include <optional>

namespace kelvane::detail {

/// The decoder module of HEIF photos, at the first of its modulePaths() where there is a file.
///
/// Not a Module, which tries every place once and for all: a conversion tells a module that is missing from one that
/// cannot be loaded, tries again after either, and the module can be closed.
///
/// Threads: any thread, any operation.
class DecoderLibrary {
public:
    enum class State { missing, notLoadable, loaded };
    struct Functions {
        DecodeImageData decode;
        FreeImageData free;
        DecodePhoto decodePhoto; ///< null, as is the next, where the module has but the first two
        FreePlanes freePlanes;
    };

    [[nodiscard]] static DecoderLibrary &shared();

    /// Loads the module unless it is; a failure is tried again by the next call.
    [[nodiscard]] State load();
    /// Of a loaded module; nothing where it lacks one of them.
    [[nodiscard]] std::optional<Functions> functions() const;
    /// Closes the module if it was loaded, and keeps the handle.
    void close() noexcept;

private:
    mutable std::mutex _mutex;
    void *_handle = nullptr; // guarded by _mutex
};

} // namespace kelvane::detail
