// SPDX-License-Identifier: Apache-2.0
#include "HevcPlugin.h"

#include "HevcFrame.h"

#include <array>
#include <condition_variable>
#include <cstring>
#include <libheif/heif_plugin.h>
#include <mutex>
#include <utility>
#include <vector>

namespace kelvane::decoder {
namespace {

constexpr int slots = 8;

struct Slot {
    heif_decoder_plugin plugin = {};
    PictureBudget budget;
    bool isTaken = false; // guarded by the pool's mutex
};

struct Pool {
    std::mutex mutex;
    std::condition_variable freed;
    std::array<Slot, slots> all;
    bool isUsable = false;
};

// One stream of a picture or a tile, pushed piece by piece, then decoded.
struct Stream {
    explicit Stream(PictureBudget &shared) : budget(shared) {}

    PictureBudget &budget;
    std::vector<std::uint8_t> bytes; // units with their length before each
};

constexpr heif_error success = {heif_error_Ok, heif_suberror_Unspecified, "Success"};
constexpr heif_error memoryEnded = {heif_error_Memory_allocation_error, heif_suberror_Unspecified, "out of memory"};

Pool &pool();

const char *title()
{
    return "libavcodec";
}

// Lower than any other decoder's: libheif takes it only where it is named.
int priorityOf(heif_compression_format format)
{
    return format == heif_compression_HEVC ? 1 : 0;
}

template <int slot>
heif_error makeStream(void **decoder)
{
    try {
        *decoder = new Stream(pool().all[slot].budget);
        return success;
    } catch (const std::bad_alloc &) {
        return memoryEnded;
    }
}

void freeStream(void *decoder)
{
    delete static_cast<Stream *>(decoder);
}

heif_error push(void *decoder, const void *data, size_t size)
{
    try {
        auto &bytes = static_cast<Stream *>(decoder)->bytes;
        const auto *first = static_cast<const std::uint8_t *>(data);
        bytes.insert(bytes.end(), first, first + size);
        return success;
    } catch (const std::bad_alloc &) {
        return memoryEnded;
    }
}

heif_error decode(void *decoder, heif_image **image)
{
    try {
        auto &stream = *static_cast<Stream *>(decoder);
        return decodeHevc(std::move(stream.bytes), stream.budget, image);
    } catch (const std::bad_alloc &) {
        return memoryEnded;
    }
}

template <int slot>
void registerPlugin()
{
    static constexpr char name[] = {'k', 'e', 'l', 'v', 'a', 'n', 'e', '0' + slot, '\0'};
    heif_decoder_plugin &plugin = pool().all[slot].plugin;
    plugin.plugin_api_version = 3;
    plugin.get_plugin_name = title;
    plugin.does_support_format = priorityOf;
    plugin.new_decoder = makeStream<slot>;
    plugin.free_decoder = freeStream;
    plugin.push_data = push;
    plugin.decode_image = decode;
    plugin.set_strict_decoding = [](void *, int) {};
    plugin.id_name = name;
    heif_register_decoder_plugin(&plugin);
}

template <int... slot>
void registerPlugins(std::integer_sequence<int, slot...>)
{
    (registerPlugin<slot>(), ...);
}

// Never destroyed: libheif keeps the plug-ins, and may outlive whoever loaded this module.
Pool &pool()
{
    static Pool &instance = *new Pool;
    return instance;
}

Pool &registeredPool()
{
    static const bool isRegistered = [] {
        pool().isUsable = canDecodeHevc();
        if (pool().isUsable)
            registerPlugins(std::make_integer_sequence<int, slots>());
        return true;
    }();
    (void)isRegistered;
    return pool();
}

int takeSlot(std::int64_t pixels)
{
    Pool &plugins = registeredPool();
    std::unique_lock lock(plugins.mutex);
    for (;;) {
        for (int i = 0; i < slots; ++i) {
            Slot &slot = plugins.all[static_cast<std::size_t>(i)];
            if (slot.isTaken)
                continue;
            slot.isTaken = true;
            slot.budget.pixelsLeft = pixels;
            slot.budget.isUnsupported = false;
            return i;
        }
        plugins.freed.wait(lock);
    }
}

Slot &at(int slot)
{
    return pool().all[static_cast<std::size_t>(slot)];
}

} // namespace

HevcPlugin::HevcPlugin(std::int64_t pixels) : _slot(takeSlot(pixels)) {}

HevcPlugin::~HevcPlugin()
{
    {
        const std::lock_guard lock(pool().mutex);
        at(_slot).isTaken = false;
    }
    pool().freed.notify_one();
}

const char *HevcPlugin::name() const noexcept
{
    return at(_slot).plugin.id_name;
}

bool HevcPlugin::isUnsupported() const noexcept
{
    return at(_slot).budget.isUnsupported;
}

} // namespace kelvane::decoder
