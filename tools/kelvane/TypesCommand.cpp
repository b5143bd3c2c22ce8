// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"

#include "JsonText.h"
#include "Text.h"

#include <kelvane/media/MimeTypes.h>
#include <kelvane/platform/TypeIdentifier.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::tool {
namespace {

struct KindName {
    std::int64_t code;
    const char *name;
};

constexpr KindName kindNames[] = {{1, "audio"}, {2, "video"}, {4, "image"}, {8, "application"}, {16, "plain text"},
    {32, "document"}, {128, "archive"}, {256, "contact"}, {512, "other text"}};

struct Type {
    std::string name;
    String identifier;
    String mimeType;
    String extension;
    std::int64_t mediaType = 0;
};

bool isMimeType(const std::string &name)
{
    return name.find('/') != std::string::npos;
}

Type typeOf(const std::string &name)
{
    if (name.empty())
        throw ItemError("an empty name has no type");
    Type type;
    type.name = name;
    type.identifier = isMimeType(name) ? MimeTypes::UTIByMimeType(name) : MimeTypes::UTIByExtension(name);
    type.mimeType = TypeIdentifier::mimeType(type.identifier);
    type.extension = TypeIdentifier::extension(type.identifier);
    type.mediaType = MimeTypes::mediaTypeByMimeType(isMimeType(name) ? String(name) : type.mimeType);
    return type;
}

std::string kindOf(std::int64_t mediaType)
{
    for (const KindName &kind : kindNames) {
        if (kind.code == mediaType)
            return kind.name;
    }
    return "unknown";
}

void printJson(const Type &type)
{
    printJsonLine({{"name", jsonText(type.name)}, {"identifier", jsonValue(type.identifier)},
        {"isDynamic", TypeIdentifier::isDynamic(type.identifier)}, {"mimeType", jsonValue(type.mimeType)},
        {"extension", jsonValue(type.extension)}, {"mediaType", type.mediaType}, {"kind", kindOf(type.mediaType)},
        {"conformsTo", jsonValue(TypeIdentifier::parents(type.identifier))}});
}

void printListing(const Type &type)
{
    constexpr std::size_t nameWidth = 12;
    std::puts(printable(type.name).c_str());
    const auto print = [](const char *name, std::string_view text) {
        std::puts(("  " + fitted(name, nameWidth) + (text.empty() ? "none" : printable(text))).c_str());
    };
    print("identifier", type.identifier.view());
    print("mimeType", type.mimeType.view());
    print("extension", type.extension.view());
    print("mediaType", std::to_string(type.mediaType) + " (" + kindOf(type.mediaType) + ")");
    std::string parents;
    for (const Value &parent : TypeIdentifier::parents(type.identifier))
        parents.append(parents.empty() ? "" : ", ").append(parent.string().view());
    print("conformsTo", parents);
}

ExitCode showTypes(const std::vector<std::string> &names, bool isJson)
{
    ExitCode code = ExitDone;
    for (const std::string &name : names) {
        try {
            const Type type = typeOf(name);
            if (isJson) {
                printJson(type);
                continue;
            }
            if (&name != &names.front())
                std::puts("");
            printListing(type);
        } catch (const ItemError &error) {
            code = ExitSomeFailed;
            if (isJson)
                printJsonLine({{"name", jsonText(name)}, {"error", error.what()}});
            std::fprintf(stderr, "kelvane: cannot tell the type of %s: %s\n", inQuotes(name).c_str(), error.what());
        }
    }
    return code;
}

} // namespace

Command defineTypesCommand(CLI::App &application)
{
    const auto names = std::make_shared<std::vector<std::string>>();
    Command command = addCommand(application,
        {"types", "Tell MIME types, identifiers and kinds of files", "[OPTIONS] EXT|MIME...",
            {"What no type declares has a dynamic identifier (dyn.a...)."},
            {"kelvane types mp3 .heic application/epub+zip"}, {ExitDone, ExitSomeFailed, ExitWrongUse},
            "Print one object a line as JSON"});
    command.definition->add_option("NAME", *names, "File name extensions and MIME types")
        ->required()
        ->option_text("EXT|MIME...");
    command.run = [names, output = command.output] { return showTypes(*names, output->isJson); };
    return command;
}

} // namespace kelvane::tool
