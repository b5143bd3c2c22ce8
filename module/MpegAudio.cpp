// SPDX-License-Identifier: Apache-2.0
#include "MpegAudio.h"

namespace kelvane::module {
namespace {

// In thousands of bits per second: version 1 by layer, then versions 2 and 2.5 by layer.
constexpr std::int16_t bitRates[2][3][15] = {{{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
                                                 {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
                                                 {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}};
constexpr std::int32_t sampleRates[] = {44100, 48000, 32000};

} // namespace

std::optional<MpegAudioFrame> mpegAudioFrame(std::string_view bytes)
{
    if (bytes.size() < 4)
        return {};
    const auto at = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(bytes[i])); };
    const unsigned version = at(1) >> 3 & 3; // 0: 2.5, 2: 2, 3: 1
    const unsigned layerBits = at(1) >> 1 & 3; // 1: III, 2: II, 3: I
    const unsigned bitRate = at(2) >> 4;
    const unsigned sampleRate = at(2) >> 2 & 3;
    if (at(0) != 0xff || (at(1) & 0xe0) != 0xe0 || version == 1 || layerBits == 0 || bitRate == 0 || bitRate == 15
        || sampleRate == 3)
        return {};
    const unsigned layer = 4 - layerBits;
    const int divisor = version == 3 ? 1 : version == 2 ? 2 : 4;
    return MpegAudioFrame{static_cast<std::int32_t>(layer), bitRates[version == 3 ? 0 : 1][layer - 1][bitRate] * 1000,
        sampleRates[sampleRate] / divisor, at(3) >> 6 == 3 ? 1 : 2};
}

std::int64_t id3Size(std::string_view bytes)
{
    constexpr std::int64_t headerSize = 10;
    if (bytes.size() < headerSize)
        return headerSize;
    std::int64_t size = 0;
    for (std::size_t i = 6; i < 10; ++i)
        size = size << 7 | (static_cast<unsigned char>(bytes[i]) & 0x7f);
    constexpr unsigned hasFooter = 0x10;
    return headerSize + size + ((static_cast<unsigned char>(bytes[5]) & hasFooter) != 0 ? headerSize : 0);
}

} // namespace kelvane::module
