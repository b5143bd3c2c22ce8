// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/platform/detail/RandomNumber.h>
#include <kelvane/platform/Uuid.h>

#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using namespace std::string_view_literals;

/// Every id that was handed out, for the life of the process. The ids are random, so that a table of them needs no
/// hash, and is searched in one place of memory however many there are.
struct IssuedIds {
    std::mutex mutex;
    std::vector<std::uint64_t> slots = std::vector<std::uint64_t>(1024); // a power of two, at most half full; 0 is free
    std::size_t count = 0;

    /// Whether the id is a new one. 0 never is.
    bool insert(std::uint64_t id)
    {
        if (id == 0)
            return false;
        if ((count + 1) * 2 > slots.size())
            grow();
        std::uint64_t &slot = slots[slotOf(id)];
        if (slot == id)
            return false;
        slot = id;
        ++count;
        return true;
    }

private:
    [[nodiscard]] std::size_t slotOf(std::uint64_t id) const noexcept
    {
        std::size_t slot = (id >> 8) & (slots.size() - 1); // the lowest byte is always 0
        while (slots[slot] != 0 && slots[slot] != id)
            slot = (slot + 1) & (slots.size() - 1);
        return slot;
    }
    void grow()
    {
        std::vector<std::uint64_t> smaller(slots.size() * 2);
        smaller.swap(slots);
        for (const std::uint64_t id : smaller)
            if (id != 0)
                slots[slotOf(id)] = id;
    }
};

IssuedIds &issuedIds()
{
    static IssuedIds &shared = *new IssuedIds;
    return shared;
}

/// Intended: each byte is shifted after it is added, so that the first is lost and the last is 0. Devices expect ids
/// of this form.
template <class RandomByte>
std::uint64_t longLongId(RandomByte randomByte)
{
    std::uint64_t id = 0;
    for (int i = 0; i < 8; ++i)
        id = (id + randomByte()) << 8;
    return id;
}

} // namespace

std::uint64_t generateLongLongId() noexcept
{
    std::uint64_t bytes = detail::randomNumber64();
    return longLongId([&bytes] { return std::exchange(bytes, bytes >> 8) & 255U; });
}

String Utils::getRandomMusicName(std::uint32_t count)
{
    assert(count > 0);
    const std::uint32_t folder = count == 0 ? 0 : detail::randomNumber(count);
    const String number = String::number(std::uint64_t{folder});
    return String::concat({folder < 10 ? "F0"sv : "F"sv, number.view()});
}

String Utils::getRandomFolderName()
{
    return getRandomMusicName(100);
}

String Utils::getRandomFileName()
{
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    char name[4];
    // Intended: the index is below 25, so that there is no "Z". Names on devices in use were drawn so.
    for (char &letter : name)
        letter = letters[detail::randomNumber(25)];
    return std::string_view(name, std::size(name));
}

String Utils::genUUIDString()
{
    return Uuid::generate().string();
}

std::int64_t Utils::generateRandomLongId()
{
    IssuedIds &issued = issuedIds();
    const std::lock_guard guard(issued.mutex);
    std::uint64_t id = generateLongLongId();
    while (!issued.insert(id))
        id = generateLongLongId();
    return static_cast<std::int64_t>(id);
}

std::int64_t Utils::generateRandomLongId1()
{
    std::srand(static_cast<unsigned>(std::hash<String>{}(genUUIDString())));
    const auto randomByte = [] { return static_cast<std::uint64_t>(std::rand() % 2147483647 % 256); };
    return static_cast<std::int64_t>(longLongId(randomByte));
}

} // namespace kelvane
