// SPDX-License-Identifier: Apache-2.0
#include "Completion.h"

#include "OptionFacts.h"

#include <CLI/CLI.hpp>
#include <string_view>

namespace kelvane::tool {
namespace {

constexpr const char *head = R"(# fish completion for kelvane

function __kelvane_is
    set -l words (commandline -opc)
    test (count $words) -gt 1; and test $words[2] = $argv[1]
end

function __kelvane_has_no_command
    test (count (commandline -opc)) -eq 1
end

complete -c kelvane -f
)";

std::string inSingleQuotes(std::string_view text)
{
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '\'';
}

/// What completes the value of an option, or the arguments of a command.
std::string completing(ValueKind kind)
{
    switch (kind) {
    case ValueKind::Folder:
        return " -x -a '(__fish_complete_directories)'";
    case ValueKind::File:
        return " -r -F";
    case ValueKind::Program:
        return " -x -a '(__fish_complete_command)'";
    default:
        return " -x";
    }
}

std::string optionLine(const std::string &condition, const OptionFacts &option)
{
    std::string line = "complete -c kelvane -n " + inSingleQuotes(condition);
    if (!option.shortName.empty())
        line += " -s " + option.shortName;
    line += " -l " + option.longName;
    if (!option.value.empty())
        line += completing(option.valueKind());
    return line + " -d " + inSingleQuotes(option.description) + '\n';
}

std::string linesOf(const Command &command, const std::string &names)
{
    const std::string condition = "__kelvane_is " + command.text.name;
    const std::vector<OptionFacts> options = optionsOf(*command.definition);
    std::string lines;
    for (const OptionFacts &option : options)
        if (!option.isArgument())
            lines += optionLine(condition, option);
    const ValueKind kind = argumentKind(options);
    if (kind == ValueKind::Command)
        lines += "complete -c kelvane -n " + inSingleQuotes(condition) + " -a " + inSingleQuotes(names) + '\n';
    else if (kind > ValueKind::Other)
        lines += "complete -c kelvane -n " + inSingleQuotes(condition) + completing(kind) + '\n';
    return lines;
}

} // namespace

std::string fishCompletion(const Program &program)
{
    const std::string none = "__kelvane_has_no_command";
    std::string text = head;
    std::string names;
    for (const OptionFacts &option : optionsOf(program.definition()))
        text += optionLine(none, option);
    for (const Command &command : program.commands()) {
        names += (names.empty() ? "" : " ") + command.text.name;
        text += "complete -c kelvane -n " + none + " -a " + command.text.name + " -d "
            + inSingleQuotes(command.text.description) + '\n';
    }
    for (const Command &command : program.commands())
        text += linesOf(command, names);
    return text;
}

} // namespace kelvane::tool
