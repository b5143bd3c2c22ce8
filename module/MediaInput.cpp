// SPDX-License-Identifier: Apache-2.0
#include "MediaInput.h"

#include "Demuxers.h"
#include "HeaderLimits.h"

#include <algorithm>
#include <new>

namespace kelvane::module {
namespace {

constexpr int bufferSize = 32 * 1024;
constexpr std::int64_t analysedBytes = 2'000'000;
constexpr unsigned maxStreams = 64;

// Whatever a file refers to stays closed.
int refuseToOpen(AVFormatContext * /*context*/, AVIOContext ** /*io*/, const char * /*url*/, int /*flags*/,
    AVDictionary ** /*options*/)
{
    return AVERROR(EACCES);
}

Handle<AVIOContext> makeIo(
    void *self, int (*read)(void *, std::uint8_t *, int), std::int64_t (*seek)(void *, std::int64_t, int))
{
    auto *buffer = static_cast<unsigned char *>(av_malloc(bufferSize));
    AVIOContext *io = buffer ? avio_alloc_context(buffer, bufferSize, 0, self, read, nullptr, seek) : nullptr;
    if (!io) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    return Handle<AVIOContext>(io);
}

} // namespace

MediaInput::MediaInput(const char *path, Budget &budget) : _file(path, budget)
{
    const char *name = _file.size() > 0 ? demuxerFor(_file) : nullptr;
    const AVInputFormat *demuxer = name ? av_find_input_format(name) : nullptr;
    if (!demuxer || !areTablesReasonable(_file, name))
        return;
    _io = makeIo(this, &MediaInput::read, &MediaInput::seek);
    AVFormatContext *context = avformat_alloc_context();
    if (!context)
        throw std::bad_alloc();
    context->pb = _io.get();
    context->io_open = refuseToOpen;
    context->interrupt_callback = {&MediaInput::interrupt, &budget};
    context->probesize = analysedBytes;
    context->max_analyze_duration = AV_TIME_BASE;
    context->max_streams = maxStreams;
    AVDictionary *options = nullptr;
    // Each edit of a film may list all of its samples once more, and there may be any number of edits.
    av_dict_set(&options, "advanced_editlist", "0", 0);
    const int result = avformat_open_input(&context, "", demuxer, &options); // frees the context when it fails
    av_dict_free(&options);
    if (result >= 0)
        _format.reset(context);
}

void MediaInput::analyse()
{
    (void)avformat_find_stream_info(_format.get(), nullptr);
}

int MediaInput::read(void *self, std::uint8_t *bytes, int count)
{
    auto *input = static_cast<MediaInput *>(self);
    const std::size_t taken = input->_file.read(input->_position, bytes, static_cast<std::size_t>(std::max(count, 0)));
    input->_position += static_cast<std::int64_t>(taken);
    return taken > 0 ? static_cast<int>(taken) : AVERROR_EOF;
}

std::int64_t MediaInput::seek(void *self, std::int64_t offset, int whence)
{
    auto *input = static_cast<MediaInput *>(self);
    if ((whence & AVSEEK_SIZE) != 0)
        return input->_file.size();
    const std::int64_t origin = whence == SEEK_CUR ? input->_position : whence == SEEK_END ? input->_file.size() : 0;
    std::int64_t target = 0;
    if (__builtin_add_overflow(origin, offset, &target) || target < 0)
        return AVERROR(EINVAL);
    input->_position = target;
    return target;
}

int MediaInput::interrupt(void *budget)
{
    return static_cast<const Budget *>(budget)->isSpent() ? 1 : 0;
}

} // namespace kelvane::module
