// SPDX-License-Identifier: Apache-2.0
#include "HelpText.h"

#include "OptionFacts.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

namespace kelvane::tool {
namespace {

constexpr std::size_t widest = 80;
constexpr std::size_t narrow = 60; // below this, descriptions stand below what they describe
constexpr const char *indent = "  ";

using Entries = std::vector<std::pair<std::string, std::string>>; // heading, description

/// Breaks a text into lines. All but the first begin with `nextIndent`; a line that goes on ends with `mark`.
std::string wrapped(const std::string &text, std::size_t width, std::size_t column, const std::string &nextIndent,
    std::string_view mark = "")
{
    std::string result;
    std::istringstream words(text);
    words.exceptions(std::ios::badbit); // want of memory is not the end of the text
    bool isLineEmpty = true;
    for (std::string word; words >> word;) {
        if (!isLineEmpty && column + 1 + word.size() + mark.size() > width) {
            result += mark;
            result += '\n' + nextIndent;
            column = nextIndent.size();
            isLineEmpty = true;
        }
        result += (isLineEmpty ? "" : " ") + word;
        column += word.size() + (isLineEmpty ? 0 : 1);
        isLineEmpty = false;
    }
    return result + '\n';
}

std::string paragraph(const std::string &text, std::size_t width)
{
    return wrapped(text, width, 0, "");
}

std::string list(const std::string &title, const Entries &entries, std::size_t width)
{
    if (entries.empty())
        return {};
    std::size_t longest = 0;
    for (const auto &[heading, description] : entries)
        longest = std::max(longest, heading.size());
    std::string text = '\n' + title + ":\n";
    for (const auto &[heading, description] : entries) {
        if (width < narrow) {
            const std::string below(6, ' ');
            text += indent + heading.substr(heading.find_first_not_of(' ')) + '\n' + below
                + wrapped(description, width, below.size(), below);
        } else {
            const std::size_t column = 2 + longest + 2;
            text += indent + heading + std::string(column - 2 - heading.size(), ' ')
                + wrapped(description, width, column, std::string(column, ' '));
        }
    }
    return text;
}

Entries entriesOf(const std::vector<OptionFacts> &options, bool isForArguments)
{
    Entries entries;
    for (const OptionFacts &option : options)
        if (option.isArgument() == isForArguments)
            entries.emplace_back(option.heading(), option.description);
    return entries;
}

// A line too long is broken as a shell allows it, so that it can be pasted as it stands.
std::string examples(const std::vector<std::string> &lines, std::size_t width)
{
    std::string text = lines.size() == 1 ? "\nExample:\n" : "\nExamples:\n";
    for (const std::string &line : lines)
        text += indent + wrapped(line, width, 2, "      ", " \\");
    return text;
}

std::string exitCodes(const std::vector<ExitCode> &codes, std::size_t width)
{
    std::string text = "Exit codes:";
    for (const ExitCode code : codes)
        text += (code == codes.front() ? " " : ", ") + std::to_string(code) + ' ' + meaningOf(code);
    return '\n' + paragraph(text, width);
}

} // namespace

std::string meaningOf(ExitCode code)
{
    switch (code) {
    case ExitDone:
        return "done";
    case ExitSomeFailed:
        return "some items failed";
    case ExitWrongUse:
        return "wrong use";
    case ExitCannotStart:
        return "cannot start";
    default:
        return "interrupted";
    }
}

std::string helpOf(const Command &command, std::size_t terminalWidth)
{
    const std::size_t width = std::min(terminalWidth, widest);
    const std::vector<OptionFacts> options = optionsOf(*command.definition);
    std::string text = wrapped("Usage: kelvane " + command.text.name + ' ' + command.text.usage, width, 0, "    ");
    text += '\n' + paragraph(command.text.description + '.', width);
    for (const std::string &detail : command.text.details)
        text += '\n' + paragraph(detail, width);
    text += list("Arguments", entriesOf(options, true), width);
    text += list("Options", entriesOf(options, false), width);
    text += examples(command.text.examples, width);
    return text + exitCodes(command.text.exitCodes, width);
}

std::string helpOf(const Program &program, std::size_t terminalWidth)
{
    const std::size_t width = std::min(terminalWidth, widest);
    Entries commands;
    for (const Command &command : program.commands())
        commands.emplace_back(command.text.name, command.text.description);
    std::string text = wrapped("Usage: kelvane COMMAND [OPTIONS] ARGUMENTS", width, 0, "    ") + '\n';
    text += paragraph(std::string(Program::description) + '.', width);
    text += list("Commands", commands, width);
    text += list("Options", entriesOf(optionsOf(program.definition()), false), width);
    text += examples({"kelvane sync ~/Music /media/$USER/PHONE"}, width);
    return text + '\n' + paragraph("\"kelvane help COMMAND\" tells more of a command.", width);
}

} // namespace kelvane::tool
