// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane::detail {

/// Which MIME type files of an extension have, as the shared MIME-info database says: its lists of file name patterns
/// ("globs2"), of which those that are nothing but an extension count.
///
/// Threads: any, once made.
/// Errors: a list that is missing or damaged has nothing to say.
class MimeGlobs {
public:
    /// Reads the lists of the folders, the first of which counts most.
    explicit MimeGlobs(const std::vector<std::string> &folders);

    /// The lists of this system, read once.
    [[nodiscard]] static const MimeGlobs &system();

    /// The MIME type for an extension in lower case; empty where there is none.
    [[nodiscard]] std::string_view mimeTypeOf(std::string_view extension) const;
    /// The extension that comes first for a MIME type in lower case; empty where there is none.
    [[nodiscard]] std::string_view extensionOf(std::string_view mimeType) const;

private:
    using Pairs = std::vector<std::pair<std::string_view, std::string_view>>;
    [[nodiscard]] static std::string_view find(const Pairs &pairs, std::string_view key);
    void addLines(std::string_view text);

    std::vector<std::string> _texts;
    Pairs _byExtension;
    Pairs _byMimeType;
};

} // namespace kelvane::detail
