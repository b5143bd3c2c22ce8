// SPDX-License-Identifier: Apache-2.0
#include "AdtsStream.h"

#include <kelvane/platform/detail/FileAccess.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <unistd.h>
#include <vector>

namespace kelvane::detail {
namespace {

constexpr std::size_t blockSize = std::size_t{1} << 16;
constexpr std::size_t headerSize = adtsHeaderSize;
constexpr std::int64_t samplesPerBlock = 1024;
// An hour and more of ordinary sound is walked, and the rest taken to be like it.
constexpr long maximumWalk = 64L << 20;
constexpr int framesThatAreNoChance = 3;
constexpr int sampleRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};

struct Frame {
    int rateIndex = 0;
    int channels = 0;
    long size = 0;
    std::int64_t samples = 0;
};

/// The frame whose header is at `bytes`; without a size where none is.
Frame frameAt(const unsigned char *bytes)
{
    constexpr unsigned char syncAndLayer = 0xf6; // the layer's two bits are 0, unlike those of MPEG audio
    Frame frame;
    frame.rateIndex = bytes[2] >> 2 & 15;
    const int configuration = (bytes[2] & 1) << 2 | bytes[3] >> 6;
    frame.channels = configuration == 7 ? 8 : configuration;
    const long size = (bytes[3] & 3) << 11 | bytes[4] << 3 | bytes[5] >> 5;
    const bool isFrame = bytes[0] == 0xff && (bytes[1] & syncAndLayer) == 0xf0
        && frame.rateIndex < static_cast<int>(std::size(sampleRates)) && size >= static_cast<long>(headerSize);
    frame.size = isFrame ? size : 0;
    frame.samples = samplesPerBlock * ((bytes[6] & 3) + 1);
    return frame;
}

/// The bytes of a file in blocks, read one after the other.
class Window {
public:
    explicit Window(int descriptor) : _descriptor(descriptor), _bytes(blockSize) {}

    /// `headerSize` bytes at `offset`; null behind the end of the file.
    const unsigned char *at(long offset)
    {
        if (offset < _start || offset + static_cast<long>(headerSize) > _start + _size) {
            const ssize_t got =
                uninterrupted([&] { return ::pread(_descriptor, _bytes.data(), _bytes.size(), offset); });
            _start = offset;
            _size = std::max<long>(got, 0);
        }
        const long place = offset - _start;
        return place + static_cast<long>(headerSize) <= _size ? _bytes.data() + place : nullptr;
    }

private:
    const int _descriptor;
    std::vector<unsigned char> _bytes;
    long _start = 0;
    long _size = 0;
};

} // namespace

bool isAdtsHeader(std::string_view bytes)
{
    unsigned char header[headerSize];
    if (bytes.size() < headerSize)
        return false;
    std::copy_n(bytes.begin(), headerSize, header);
    return frameAt(header).size != 0;
}

AdtsStream readAdtsStream(int descriptor, long start, long end)
{
    Window window(descriptor);
    AdtsStream stream;
    Frame first;
    std::int64_t samples = 0;
    int count = 0;
    long at = start;
    while (at < end && at - start < maximumWalk) {
        const unsigned char *bytes = window.at(at);
        const Frame frame = bytes ? frameAt(bytes) : Frame();
        if (frame.size == 0 || (count > 0 && frame.rateIndex != first.rateIndex))
            break;
        if (count++ == 0)
            first = frame;
        samples += frame.samples;
        at += frame.size;
    }
    const long walked = at - start;
    if (count == 0 || (count < framesThatAreNoChance && at < end))
        return {};
    stream.sampleRate = sampleRates[first.rateIndex];
    stream.channels = first.channels;
    const double seconds = static_cast<double>(samples) / stream.sampleRate;
    constexpr double bitsPerByte = 8;
    stream.bitrate = static_cast<int>(static_cast<double>(walked) * bitsPerByte / seconds);
    const double whole = walked < maximumWalk ? 1 : static_cast<double>(end - start) / static_cast<double>(walked);
    stream.seconds = seconds * whole;
    return stream;
}

} // namespace kelvane::detail
