// SPDX-License-Identifier: Apache-2.0
// tiles_alone STREAM OUT: what decoding a photo in tiles and coding it as JPEG takes when nothing else is done. Decodes the
// HEVC pictures of a stream by libavcodec, each with parameter sets before it, and codes each as a JPEG of its own by
// libjpeg, as it is, on as many threads as there are processors. Reads no HEIF file, puts nothing together, keeps no
// description, checks nothing, writes the pieces as they are.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <jpeglib.h>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

void require(bool isTrue, const char *what)
{
    if (isTrue)
        return;
    std::fprintf(stderr, "tiles_alone: %s\n", what);
    std::exit(1);
}

// Each picture begins with a video parameter set.
std::vector<std::string_view> picturesIn(std::string_view stream)
{
    constexpr std::string_view startCode("\0\0\0\1\x40", 5);
    std::vector<std::string_view> pictures;
    while (!stream.empty()) {
        const std::size_t end = std::min(stream.find(startCode, 1), stream.size());
        pictures.push_back(stream.substr(0, end));
        stream.remove_prefix(end);
    }
    return pictures;
}

std::string jpegOf(const AVFrame &frame)
{
    jpeg_compress_struct state = {};
    jpeg_error_mgr errors = {};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&state, &bytes, &size);
    state.image_width = static_cast<JDIMENSION>(frame.width);
    state.image_height = static_cast<JDIMENSION>(frame.height);
    state.input_components = 3;
    state.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, 80, TRUE);
    state.raw_data_in = TRUE;
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        JSAMPROW rows[3][16];
        JSAMPARRAY planes[3] = {rows[0], rows[1], rows[2]};
        for (int plane = 0; plane < 3; ++plane)
            for (int i = 0; i < (plane ? 8 : 16); ++i)
                rows[plane][i] = frame.data[plane]
                    + (static_cast<int>(state.next_scanline) / (plane ? 2 : 1) + i)
                        * std::ptrdiff_t{frame.linesize[plane]};
        jpeg_write_raw_data(&state, planes, 16);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    std::string result(reinterpret_cast<const char *>(bytes), size);
    std::free(bytes);
    return result;
}

std::string convert(std::string_view picture, AVCodecContext *decoder, AVFrame *frame)
{
    std::vector<std::uint8_t> room(picture.begin(), picture.end());
    room.resize(picture.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    AVPacket *packet = av_packet_alloc();
    packet->data = room.data();
    packet->size = static_cast<int>(picture.size());
    avcodec_flush_buffers(decoder);
    const bool isDecoded = avcodec_send_packet(decoder, packet) >= 0 && avcodec_send_packet(decoder, nullptr) >= 0
        && avcodec_receive_frame(decoder, frame) >= 0;
    require(isDecoded, "a picture cannot be decoded");
    require((frame->format == AV_PIX_FMT_YUV420P || frame->format == AV_PIX_FMT_YUVJ420P) && frame->width % 16 == 0
            && frame->height % 16 == 0,
        "a picture is no tile of 4:2:0");
    av_packet_free(&packet);
    return jpegOf(*frame);
}

} // namespace

int main(int count, char **arguments)
{
    require(count == 3, "STREAM and OUT, please");
    std::ifstream input(arguments[1], std::ios::binary);
    const std::string stream(std::istreambuf_iterator<char>(input), {});
    const std::vector<std::string_view> pictures = picturesIn(stream);
    require(pictures.size() > 1, "there are no tiles");
    std::vector<std::string> results(pictures.size());
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
        AVCodecContext *decoder = avcodec_alloc_context3(codec);
        decoder->thread_count = 1;
        require(avcodec_open2(decoder, codec, nullptr) == 0, "there is no decoder");
        AVFrame *frame = av_frame_alloc();
        for (std::size_t i = next++; i < pictures.size(); i = next++)
            results[i] = convert(pictures[i], decoder, frame);
        av_frame_free(&frame);
        avcodec_free_context(&decoder);
    };
    std::vector<std::thread> threads;
    for (unsigned int i = 1; i < std::thread::hardware_concurrency(); ++i)
        threads.emplace_back(work);
    work();
    for (std::thread &thread : threads)
        thread.join();
    std::ofstream output(arguments[2], std::ios::binary);
    for (const std::string &result : results)
        output << result;
    return output.flush() ? 0 : 1;
}
