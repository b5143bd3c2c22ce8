// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Uuid.h>

#include <uuid/uuid.h>

namespace kelvane {

Uuid Uuid::generate() noexcept
{
    Uuid uuid;
    uuid_generate_random(uuid.bytes.data());
    return uuid;
}

std::optional<Uuid> Uuid::fromString(const String &text) noexcept
{
    Uuid uuid;
    if (text.size() != UUID_STR_LEN - 1 || uuid_parse(text.c_str(), uuid.bytes.data()) != 0)
        return std::nullopt;
    return uuid;
}

String Uuid::string() const
{
    char text[UUID_STR_LEN];
    uuid_unparse_upper(bytes.data(), text);
    return text;
}

} // namespace kelvane
