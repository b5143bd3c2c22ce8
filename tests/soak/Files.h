// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::soak {

[[nodiscard]] std::string contentOf(const std::filesystem::path &path);
void writeFile(const std::filesystem::path &path, std::string_view content);
/// Bytes that no hole and no shifted block can pass for; another `seed` gives others.
[[nodiscard]] std::string pattern(std::size_t size, std::uint64_t seed);
/// The regular files below a folder, relative to it, in order.
[[nodiscard]] std::vector<std::filesystem::path> filesBelow(const std::filesystem::path &folder);
/// The bundled sounds, films and photos.
[[nodiscard]] const std::filesystem::path &samples();
/// Copies the bundled file at `name`, as in "Music/Bell.wav", into a folder, which is made where it is missing.
std::filesystem::path copySample(const std::string &name, const std::filesystem::path &folder);

} // namespace kelvane::soak
