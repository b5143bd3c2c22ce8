// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaInput.h"

#include <cstdint>
#include <kelvane/platform/detail/MediaModule.h>

#include <deque>
#include <string>
#include <vector>

namespace kelvane::module {

/// The properties of a file, gathered for callers of the module.
class FileFacts {
public:
    /// Gathers what `input`, which is open, knows; it may be read on for that.
    explicit FileFacts(MediaInput &input);
    FileFacts(const FileFacts &) = delete;
    FileFacts &operator=(const FileFacts &) = delete;

    /// Valid as long as this.
    [[nodiscard]] detail::MediaFacts facts() const { return {_facts.data(), _facts.size()}; }

private:
    void addTexts(const AVFormatContext &format);
    void addDates(const AVFormatContext &format);
    void addStreams(const AVFormatContext &format, double seconds);

    void addText(const char *key, const char *text, detail::MediaFactKind kind = detail::MediaFactText);
    void addInteger(const char *key, std::int64_t number);
    void addReal(const char *key, double number, detail::MediaFactKind kind = detail::MediaFactReal);

    std::vector<detail::MediaFact> _facts;
    std::deque<std::string> _texts; // what the facts point to
    std::int64_t _fileSize;
};

} // namespace kelvane::module
