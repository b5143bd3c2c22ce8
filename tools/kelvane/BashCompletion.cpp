// SPDX-License-Identifier: Apache-2.0
#include "Completion.h"

#include "OptionFacts.h"

#include <CLI/CLI.hpp>

namespace kelvane::tool {
namespace {

// What is generated is two tables, in the form of cases: the words of each command, and the options that have a value.
constexpr const char *head = R"(# bash completion for kelvane

# _kelvane_words KIND: fills COMPREPLY with what the word before the cursor may become.
_kelvane_words() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    case $1 in
        file) mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;
        folder) mapfile -t COMPREPLY < <(compgen -d -- "$cur") ;;
        program) mapfile -t COMPREPLY < <(compgen -c -- "$cur") ;;
        command) mapfile -t COMPREPLY < <(compgen -W "$_kelvane_commands" -- "$cur") ;;
    esac
    [[ $1 != file && $1 != folder ]] || compopt -o filenames 2>/dev/null
}

_kelvane() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options='' arguments=''
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "$_kelvane_commands $_kelvane_options" -- "$cur")
        return
    fi
    case "${COMP_WORDS[1]} $previous" in
)";
constexpr const char *middle = R"(    esac
    case ${COMP_WORDS[1]} in
)";
constexpr const char *tail = R"(    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    else
        _kelvane_words "$arguments"
    fi
}

complete -F _kelvane kelvane
)";

const char *nameOf(ValueKind kind)
{
    constexpr const char *names[] = {"none", "none", "folder", "file", "command", "program"};
    return names[static_cast<std::size_t>(kind)];
}

std::string optionWords(const std::vector<OptionFacts> &options)
{
    std::string words;
    for (const OptionFacts &option : options) {
        if (!option.shortName.empty())
            words += " -" + option.shortName;
        if (!option.isArgument())
            words += " --" + option.longName;
    }
    return words.empty() ? words : words.substr(1);
}

std::string valueCase(const std::string &command, const OptionFacts &option)
{
    std::string pattern = '"' + command + " --" + option.longName + '"';
    if (!option.shortName.empty())
        pattern += " | \"" + command + " -" + option.shortName + '"';
    return "        " + pattern + ") _kelvane_words " + nameOf(option.valueKind()) + "; return ;;\n";
}

} // namespace

std::string bashCompletion(const Program &program)
{
    std::string names;
    std::string values;
    std::string words;
    for (const Command &command : program.commands()) {
        const std::vector<OptionFacts> options = optionsOf(*command.definition);
        const std::string &name = command.text.name;
        names += (names.empty() ? "" : " ") + name;
        for (const OptionFacts &option : options)
            if (!option.isArgument() && !option.value.empty())
                values += valueCase(name, option);
        words += "        " + name + ") options='" + optionWords(options)
            + "' arguments=" + nameOf(argumentKind(options)) + " ;;\n";
    }
    return head + values + middle + words + tail + "_kelvane_commands='" + names + "'\n_kelvane_options='"
        + optionWords(optionsOf(program.definition())) + "'\n";
}

} // namespace kelvane::tool
