// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/CancelOnSignal.h>

#include <kelvane/common/detail/Notify.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kelvane {

struct CancelOnSignal::Private {
    std::weak_ptr<IAsyncTask> task;
    std::vector<int> signals;
    std::atomic<int> caught = 0;
    bool isActive = false;
};

namespace {

/// The only thing that the handler touches: where to write the number of the signal.
std::atomic<int> writingEnd{-1};

extern "C" void kelvaneWriteSignal(int number)
{
    const int savedError = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const auto written = ::write(writingEnd.load(std::memory_order_relaxed), &byte, 1);
    errno = savedError;
}

} // namespace

/// All guards of the process, the handlers that they replaced, and the thread that reads what the handler wrote.
/// Made on first use and never torn down: a signal may come while the process ends.
class SignalRouter {
public:
    using Guard = std::shared_ptr<CancelOnSignal::Private>;

    static SignalRouter &shared()
    {
        static auto *const router = new SignalRouter;
        return *router;
    }

    bool add(const Guard &guard)
    {
        const std::lock_guard lock(_mutex);
        if (!startReader())
            return false;
        for (const int number : guard->signals)
            if (_users[number]++ == 0) {
                struct sigaction action {};
                action.sa_handler = kelvaneWriteSignal;
                action.sa_flags = SA_RESTART;
                ::sigaction(number, &action, &_replaced[number]);
            }
        _guards.push_back(guard);
        return true;
    }

    void remove(const Guard &guard)
    {
        const std::lock_guard lock(_mutex);
        _guards.erase(std::remove(_guards.begin(), _guards.end(), guard), _guards.end());
        for (const int number : guard->signals)
            if (--_users[number] == 0)
                ::sigaction(number, &_replaced[number], nullptr);
    }

private:
    bool startReader()
    {
        if (writingEnd.load() >= 0)
            return true;
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            return false;
        // A handler must not block: a pipe that is full has signals enough to read.
        ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
        try {
            std::thread([this, readingEnd = ends[0]] { read(readingEnd); }).detach();
        } catch (const std::exception &) {
            ::close(ends[0]);
            ::close(ends[1]);
            return false;
        }
        writingEnd = ends[1];
        return true;
    }

    void read(int readingEnd)
    {
        unsigned char number = 0;
        for (;;) {
            const auto count = ::read(readingEnd, &number, 1);
            if (count == 1)
                deliver(number);
            else if (count == 0 || errno != EINTR)
                return;
        }
    }

    void deliver(int number)
    {
        std::vector<Guard> guards;
        {
            const std::lock_guard lock(_mutex);
            guards = _guards;
        }
        for (const auto &guard : guards) {
            if (std::find(guard->signals.begin(), guard->signals.end(), number) == guard->signals.end())
                continue;
            int none = 0;
            guard->caught.compare_exchange_strong(none, number);
            if (const auto task = guard->task.lock())
                detail::notify("a signal", [&] { task->cancel(); });
        }
    }

    std::mutex _mutex;
    std::vector<Guard> _guards; // guarded by _mutex, as are the next
    std::map<int, int> _users;
    std::map<int, struct sigaction> _replaced;
};

CancelOnSignal::CancelOnSignal(const std::shared_ptr<IAsyncTask> &task) : CancelOnSignal(task, {SIGINT, SIGTERM}) {}

CancelOnSignal::CancelOnSignal(const std::shared_ptr<IAsyncTask> &task, std::initializer_list<int> signals)
    : d(std::make_shared<Private>())
{
    d->task = task;
    d->signals = signals;
    d->isActive = SignalRouter::shared().add(d);
}

CancelOnSignal::~CancelOnSignal()
{
    if (d->isActive)
        SignalRouter::shared().remove(d);
}

bool CancelOnSignal::isActive() const
{
    return d->isActive;
}

int CancelOnSignal::caughtSignal() const
{
    return d->caught;
}

} // namespace kelvane
