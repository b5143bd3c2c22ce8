// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Paths.h>

#include <string>
#include <string_view>

namespace kelvane {

namespace {

/// Without the slashes at the end, but for the root folder, which is nothing but a slash.
std::string_view withoutTrailingSlashes(std::string_view path) noexcept
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

std::string_view lastComponent(std::string_view path) noexcept
{
    if (path == "/")
        return path;
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0: all of it
}

/// Where the dot of the extension stands in `path`, or npos.
std::size_t extensionDot(std::string_view path) noexcept
{
    const auto name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view::npos : path.size() - name.size() + dot;
}

} // namespace

String lastPathComponent(const String &path)
{
    if (path.isNull())
        return {};
    return lastComponent(withoutTrailingSlashes(path.view()));
}

String pathExtension(const String &path)
{
    if (path.isNull())
        return {};
    const auto trimmed = withoutTrailingSlashes(path.view());
    const std::size_t dot = extensionDot(trimmed);
    return dot == std::string_view::npos ? std::string_view("") : trimmed.substr(dot + 1);
}

String deletingPathExtension(const String &path)
{
    if (path.isNull())
        return {};
    const auto trimmed = withoutTrailingSlashes(path.view());
    return trimmed.substr(0, extensionDot(trimmed));
}

String deletingLastPathComponent(const String &path)
{
    if (path.isNull())
        return {};
    const auto trimmed = withoutTrailingSlashes(path.view());
    const std::size_t slash = trimmed.rfind('/');
    if (slash == std::string_view::npos)
        return "";
    return slash == 0 ? std::string_view("/") : withoutTrailingSlashes(trimmed.substr(0, slash));
}

String appendingPathComponent(const String &path, const String &component)
{
    if (path.isNull() || component.isEmpty())
        return path;
    std::string joined;
    joined.reserve(path.size() + 1 + component.size());
    const auto append = [&](std::string_view text) {
        for (const char c : text) {
            if (c != '/' || !joined.ends_with('/'))
                joined.push_back(c);
        }
    };
    append(path.view());
    if (!joined.empty())
        append("/");
    append(component.view());
    return withoutTrailingSlashes(joined);
}

} // namespace kelvane
