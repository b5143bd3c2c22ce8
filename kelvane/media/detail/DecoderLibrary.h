// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/DecoderModule.h>

#include <mutex>
#include <optional>

namespace kelvane::detail {

/// The decoder module of HEIF photos. It is looked for beside the program's executable, then where the library's own
/// installation puts it, and nowhere else: neither the working directory nor the environment has a say.
///
/// Threads: any thread, any operation.
class DecoderLibrary {
public:
    enum class State { missing, notLoadable, loaded };
    struct Functions {
        DecodeImageData decode;
        FreeImageData free;
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
