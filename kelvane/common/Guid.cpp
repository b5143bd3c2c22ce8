// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Guid.h>

#include <algorithm>

namespace kelvane {

std::shared_ptr<Guid> Guid::UUID()
{
    return std::make_shared<Guid>();
}

std::shared_ptr<Guid> Guid::uuidWithData(const Data &data)
{
    if (data.size() < 16)
        return nullptr;
    return initWithUUIDBytes(reinterpret_cast<const std::uint8_t *>(data.view().data()));
}

std::shared_ptr<Guid> Guid::initWithUUIDString(const String &text)
{
    if (text.isNull())
        return nullptr;
    return std::make_shared<Guid>(Uuid::fromString(text));
}

std::shared_ptr<Guid> Guid::initWithUUIDBytes(const std::uint8_t *bytes)
{
    if (!bytes)
        return nullptr;
    Uuid uuid;
    std::copy_n(bytes, uuid.bytes.size(), uuid.bytes.begin());
    return initWithCFUUIDRef(uuid);
}

std::shared_ptr<Guid> Guid::initWithCFUUIDRef(const std::optional<Uuid> &uuid)
{
    return uuid ? std::make_shared<Guid>(uuid) : nullptr;
}

String Guid::valueToGuidString(const Value &value)
{
    if (value.getIf<Data>()) {
        const auto guid = uuidWithData(value.data());
        return guid ? guid->UUIDString() : String();
    }
    if (value.getIf<String>())
        return value.string();
    std::shared_ptr<const Guid> guid = value.object().as<Guid>();
    if (!guid)
        guid = value.object().as<const Guid>();
    return guid ? guid->UUIDString() : String();
}

void Guid::getUUIDBytes(std::uint8_t *buffer) const noexcept
{
    if (_uuid && buffer)
        std::ranges::copy(_uuid->bytes, buffer);
}

String Guid::UUIDString() const
{
    return _uuid ? _uuid->string() : String();
}

Data Guid::UUIDData() const
{
    std::uint8_t bytes[16] = {};
    getUUIDBytes(bytes);
    return Data(bytes, sizeof bytes);
}

bool IsLittleEndian() noexcept
{
    return true;
}

} // namespace kelvane
