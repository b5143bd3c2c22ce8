// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kelvane::tool {

/// What words may stand for a value on the command line; shells complete them so.
enum class ValueKind { None, Other, Folder, File, Command, Program };

/// An option or argument of a command, as texts about it name it.
struct OptionFacts {
    std::string shortName; // "n", "" for none
    std::string longName; // "dry-run"; "" for an argument
    std::string value; // "N", "SOURCE... DEVICE"; "" for an option without
    std::string description;

    [[nodiscard]] bool isArgument() const { return longName.empty(); }
    /// By the name of the value: "DIR" and "DEVICE" are folders, and so on. Of several, the first counts.
    [[nodiscard]] ValueKind valueKind() const;
    /// "-n, --dry-run", "-j, --jobs N", "    --json", "FILE...".
    [[nodiscard]] std::string heading() const;
};

/// The arguments of a command, then its options, in the order of its help.
[[nodiscard]] std::vector<OptionFacts> optionsOf(const CLI::App &definition);

/// What the words of a command may be that are no options: where its arguments are of several kinds, the one that lets
/// through more.
[[nodiscard]] ValueKind argumentKind(const std::vector<OptionFacts> &options);

} // namespace kelvane::tool
