// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Pipe.h>

#include <kelvane/platform/detail/FileAccess.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace kelvane {

namespace {

/// The events that `descriptor` has within the time, 0 for none.
short pollFor(int descriptor, int timeoutMs)
{
    pollfd entry{descriptor, POLLIN, 0};
    const int count = detail::uninterrupted([&] { return ::poll(&entry, 1, timeoutMs); });
    return count > 0 ? entry.revents : short{0};
}

int bytesIn(int descriptor)
{
    int count = 0;
    return detail::uninterrupted([&] { return ::ioctl(descriptor, FIONREAD, &count); }) == 0 ? count : 0;
}

} // namespace

std::shared_ptr<Pipe> Pipe::pipe()
{
    std::shared_ptr<Pipe> pipe(new Pipe); // first, for it may fail, and descriptors must not be lost then
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return nullptr;
    pipe->_readingEnd = ends[0];
    pipe->_writingEnd = ends[1];
    return pipe;
}

Pipe::~Pipe()
{
    if (_readingEnd >= 0)
        ::close(_readingEnd);
    closeWritingEnd();
}

Data Pipe::availableData()
{
    const int held = bytesIn(_readingEnd);
    if (held <= 0)
        return {"", 0};
    ssize_t got = 0;
    Data data = Data::create(static_cast<std::size_t>(held), [&](std::span<std::byte> bytes) {
        got = detail::uninterrupted([&] { return ::read(_readingEnd, bytes.data(), bytes.size()); });
    });
    // Nobody else reads, so that what was counted is what was read; anything less is cut, not invented.
    if (got == held)
        return data;
    return Data(data.bytes().first(got > 0 ? static_cast<std::size_t>(got) : 0));
}

bool Pipe::waitForData(int timeoutMs)
{
    return pollFor(_readingEnd, timeoutMs) != 0;
}

bool Pipe::isAtEnd()
{
    return bytesIn(_readingEnd) == 0 && (pollFor(_readingEnd, 0) & POLLHUP) != 0;
}

void Pipe::closeWritingEnd() noexcept
{
    if (_writingEnd >= 0)
        ::close(std::exchange(_writingEnd, -1));
}

} // namespace kelvane
