// SPDX-License-Identifier: Apache-2.0
#include "Completion.h"

#include "OptionFacts.h"

#include <CLI/CLI.hpp>
#include <string_view>

namespace kelvane::tool {
namespace {

/// Text between single quotes, with a backslash before each of `special`.
std::string escaped(std::string_view text, std::string_view special)
{
    std::string result;
    for (const char c : text) {
        if (c == '\'')
            result += "'\\''";
        else if (special.find(c) != std::string_view::npos)
            result += std::string("\\") + c;
        else
            result += c;
    }
    return result;
}

std::string action(ValueKind kind)
{
    switch (kind) {
    case ValueKind::Folder:
        return "_directories";
    case ValueKind::File:
        return "_files";
    case ValueKind::Command:
        return "_kelvane_commands";
    case ValueKind::Program:
        return "_command_names -e";
    default:
        return " ";
    }
}

std::string value(const OptionFacts &option)
{
    return ':' + escaped(option.value, ":") + ':' + action(option.valueKind());
}

/// One argument of _arguments.
std::string specification(const OptionFacts &option)
{
    if (option.isArgument()) {
        const bool isRepeated = option.value.find("...") != std::string::npos;
        return "'" + std::string(isRepeated ? "*" : "") + value(option) + "'";
    }
    const std::string names = option.shortName.empty() ? "'--" + option.longName
                                                       : "'(-" + option.shortName + " --" + option.longName + ")'{-"
            + option.shortName + ",--" + option.longName + "}'";
    return names + '[' + escaped(option.description, "[]") + ']' + (option.value.empty() ? "" : value(option)) + "'";
}

std::string specifications(const CLI::App &definition, const std::string &indent)
{
    std::string text;
    for (const OptionFacts &option : optionsOf(definition))
        text += " \\\n" + indent + specification(option);
    return text;
}

} // namespace

std::string zshCompletion(const Program &program)
{
    std::string commands;
    std::string cases;
    for (const Command &command : program.commands()) {
        commands += "        '" + command.text.name + ':' + escaped(command.text.description, ":") + "'\n";
        cases += "        " + command.text.name + ")\n            _arguments -s -S"
            + specifications(*command.definition, std::string(16, ' ')) + "\n            ;;\n";
    }
    return "#compdef kelvane\n\n"
           "_kelvane_commands() {\n    local -a commands\n    commands=(\n"
        + commands
        + "    )\n    _describe command commands\n}\n\n"
          "_kelvane() {\n    local curcontext=$curcontext state line ret=1\n    typeset -A opt_args\n"
          "    _arguments -C"
        + specifications(program.definition(), "        ")
        + " \\\n        '1: :_kelvane_commands' \\\n        '*:: :->rest' && ret=0\n"
          "    [[ $state == rest ]] || return ret\n"
          "    case $words[1] in\n"
        + cases + "    esac\n}\n\n_kelvane \"$@\"\n";
}

} // namespace kelvane::tool
