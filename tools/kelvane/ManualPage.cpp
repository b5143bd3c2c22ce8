// SPDX-License-Identifier: Apache-2.0
#include "ManualPage.h"

#include "HelpText.h"
#include "OptionFacts.h"

#include <array>
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace kelvane::tool {
namespace {

// Hyphens are minus signs here: what is read on the page can then be pasted into a shell.
std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && result.empty())
            result += "\\&";
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
    }
    return result;
}

std::string inQuotationMarks(std::string_view text)
{
    std::string result = "\"";
    for (const char c : escaped(text))
        result += c == '"' ? std::string("\\(dq") : std::string(1, c);
    return result + '"';
}

std::string line(std::string_view text)
{
    return escaped(text) + '\n';
}

std::string today()
{
    const char *fixed = std::getenv("SOURCE_DATE_EPOCH");
    const std::time_t now = fixed ? static_cast<std::time_t>(std::strtoll(fixed, nullptr, 10)) : std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return text.data();
}

std::string heading(const std::string &name, const std::string &description)
{
    std::string upper = name;
    for (char &c : upper)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return ".TH " + inQuotationMarks(upper) + " 1 " + today()
        + " \"kelvane " KELVANE_VERSION "\" \"Kelvane\"\n.SH NAME\n" + escaped(name) + " \\- " + line(description);
}

std::string synopsis(const std::string &name, const std::string &usage)
{
    return ".SH SYNOPSIS\n.B kelvane" + (name.empty() ? std::string() : ' ' + escaped(name)) + '\n' + line(usage);
}

std::string entry(const std::string &heading, const std::string &description)
{
    return ".TP\n.B " + inQuotationMarks(heading) + '\n' + line(description);
}

std::string optionEntries(const CLI::App &definition, bool isForArguments)
{
    std::string text;
    for (const OptionFacts &option : optionsOf(definition))
        if (option.isArgument() == isForArguments) {
            const std::string name = option.heading();
            text += entry(name.substr(name.find_first_not_of(' ')), option.description + '.');
        }
    return text;
}

std::string section(const std::string &title, const std::string &text)
{
    return text.empty() ? text : ".SH " + title + '\n' + text;
}

std::string exampleLines(const std::vector<std::string> &examples)
{
    std::string text = ".nf\n";
    for (const std::string &example : examples)
        text += line(example);
    return text + ".fi\n";
}

} // namespace

std::string manualPageOf(const Command &command)
{
    const std::string name = "kelvane-" + command.text.name;
    std::string text = heading(name, command.text.description) + synopsis(command.text.name, command.text.usage);
    text += ".SH DESCRIPTION\n" + line(command.text.description + '.');
    for (const std::string &paragraph : command.text.details)
        text += ".PP\n" + line(paragraph);
    text += section("ARGUMENTS", optionEntries(*command.definition, true));
    text += section("OPTIONS", optionEntries(*command.definition, false));
    std::string codes;
    for (const ExitCode code : command.text.exitCodes)
        codes += entry(std::to_string(code), meaningOf(code) + '.');
    text += section("EXIT STATUS", codes);
    text += section("EXAMPLES", exampleLines(command.text.examples));
    return text + section("SEE ALSO", ".BR kelvane (1)\n");
}

std::string manualPageOf(const Program &program)
{
    std::string commands;
    std::string pages;
    for (const Command &command : program.commands()) {
        commands += entry(command.text.name, command.text.description + '.');
        pages +=
            ".BR kelvane\\-" + command.text.name + " (1)" + (&command == &program.commands().back() ? "\n" : ",\n");
    }
    std::string text = heading("kelvane", Program::description) + synopsis("", "COMMAND [OPTIONS] ARGUMENTS");
    text += ".SH DESCRIPTION\n" + line(std::string(Program::description) + '.');
    text += section("COMMANDS", commands);
    text += section("OPTIONS", optionEntries(program.definition(), false));
    text += section("ENVIRONMENT",
        entry("NO_COLOR", "Where it is set to anything, the terminal is shown no colours.")
            + entry("COLUMNS", "The width of lines where standard output is no terminal."));
    text += section("EXAMPLES", exampleLines({"kelvane sync ~/Music /media/$USER/PHONE"}));
    return text + section("SEE ALSO", pages);
}

} // namespace kelvane::tool
