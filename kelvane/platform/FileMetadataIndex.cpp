// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileMetadataIndex.h>

#include <kelvane/foundation/Value.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <plist/plist.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <uuid/uuid.h>

extern char **environ;

namespace kelvane {
namespace {

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistDeleter>;

String outputPath()
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error)
        folder = "/tmp";
    uuid_t uuid;
    uuid_generate(uuid);
    char text[UUID_STR_LEN];
    uuid_unparse_upper(uuid, text);
    return (folder / text).native();
}

void runTool(const String &tool, const String &path, const String &output)
{
    std::string arguments[] = {tool.str(), path.str(), "-plist", output.str()};
    char *argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(), nullptr};
    pid_t process = 0;
    if (::posix_spawn(&process, tool.c_str(), nullptr, nullptr, argv, environ) != 0)
        return;
    while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {}
}

/// What the index's lists and properties consist of; anything else reads as nil.
Value toValue(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        std::uint64_t size = 0;
        const char *text = plist_get_string_ptr(node, &size);
        return String(std::string_view(text, size));
    }
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return static_cast<std::int64_t>(number);
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return number;
    }
    case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return flag != 0;
    }
    case PLIST_DATE: {
        std::int32_t seconds = 0;
        std::int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return Date(seconds + microseconds / 1e6);
    }
    case PLIST_ARRAY: {
        Array values = Array::empty();
        for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i)
            values.append(toValue(plist_array_get_item(node, i)));
        return values;
    }
    default:
        return nullptr;
    }
}

Dictionary readProperties(const String &path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    plist_t node = nullptr;
    if (!bytes.empty())
        plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
    const Plist list(node);
    if (!node || plist_get_node_type(node) != PLIST_DICT)
        return nullptr;
    Dictionary properties = Dictionary::empty();
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const std::unique_ptr<void, decltype(&std::free)> owned(position, &std::free);
    for (;;) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, position, &key, &value);
        if (!value)
            return properties;
        properties.set(key, toValue(value));
        std::free(key);
    }
}

} // namespace

Dictionary FileMetadataIndex::propertiesOfFile(const String &path, const String &tool)
{
    if (path.isNull() || ::access(tool.c_str(), X_OK) != 0)
        return nullptr;
    const String output = outputPath();
    runTool(tool, path, output);
    return readProperties(output);
}

} // namespace kelvane
