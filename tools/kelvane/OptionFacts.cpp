// SPDX-License-Identifier: Apache-2.0
#include "OptionFacts.h"

#include <algorithm>
#include <CLI/CLI.hpp>

namespace kelvane::tool {
namespace {

OptionFacts factsOf(const CLI::Option &option)
{
    OptionFacts facts;
    if (!option.get_snames().empty())
        facts.shortName = option.get_snames().front();
    if (!option.get_lnames().empty())
        facts.longName = option.get_lnames().front();
    facts.value = option.get_option_text();
    facts.description = option.get_description();
    return facts;
}

// Arguments first, what every command has last.
int placeOf(const OptionFacts &facts)
{
    if (facts.isArgument())
        return 0;
    return facts.longName == "help" ? 2 : 1;
}

} // namespace

ValueKind OptionFacts::valueKind() const
{
    if (value.empty())
        return ValueKind::None;
    const std::string name = value.substr(0, value.find_first_of(" .|"));
    if (name == "DIR" || name == "DEVICE")
        return ValueKind::Folder;
    if (name == "FILE" || name == "SOURCE" || name == "ITEM" || name == "TARGET")
        return ValueKind::File;
    if (name == "PROGRAM")
        return ValueKind::Program;
    return name == "COMMAND" ? ValueKind::Command : ValueKind::Other;
}

std::string OptionFacts::heading() const
{
    if (isArgument())
        return value;
    const std::string names = (shortName.empty() ? "    " : '-' + shortName + ", ") + "--" + longName;
    return value.empty() ? names : names + ' ' + value;
}

std::vector<OptionFacts> optionsOf(const CLI::App &definition)
{
    std::vector<OptionFacts> options;
    for (const CLI::Option *option : definition.get_options())
        options.push_back(factsOf(*option));
    std::stable_sort(
        options.begin(), options.end(), [](const auto &a, const auto &b) { return placeOf(a) < placeOf(b); });
    return options;
}

ValueKind argumentKind(const std::vector<OptionFacts> &options)
{
    ValueKind kind = ValueKind::None;
    for (const OptionFacts &option : options)
        if (option.isArgument())
            kind = std::max(kind, option.valueKind());
    return kind;
}

} // namespace kelvane::tool
