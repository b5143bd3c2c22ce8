// SPDX-License-Identifier: Apache-2.0
//
// What an operation queue costs, in three works that stand for what programs do with it:
//   flood   100,000 empty operations made, added to a queue of limit 100, and waited for; per operation
//   trip    one operation at a time: added to an idle queue, its done signal waited for; per operation
//   block   100 operations that sleep 20 ms each on a queue of limit 100; in all, with no thread made yet (cold) and
//           with threads that sleep (warm)
// Printed: median, and the fastest and slowest run, in microseconds.
#include <kelvane/platform/ConditionLock.h>
#include <kelvane/platform/OperationQueue.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace kelvane;

namespace {

constexpr int limit = 100;

class Sleeping final : public Operation {
    void main() override { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }
};

class Signalling final : public Operation {
public:
    ConditionLock done{0};

private:
    void main() override { done.unlockWithCondition(1); }
};

template <class Work>
double microseconds(Work &&work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

void print(const char *name, std::vector<double> times, int operations)
{
    std::sort(times.begin(), times.end());
    std::printf("%-12s median %10.3f   fastest %10.3f   slowest %10.3f   us\n", name,
        times[times.size() / 2] / operations, times.front() / operations, times.back() / operations);
}

template <class Kind>
void runAll(OperationQueue &queue, int count)
{
    for (int i = 0; i < count; ++i)
        queue.addOperation(std::make_shared<Kind>());
    queue.waitUntilAllOperationsAreFinished();
}

void flood()
{
    constexpr int count = 100'000;
    OperationQueue queue(limit);
    std::vector<double> times;
    for (int i = 0; i < 21; ++i)
        times.push_back(microseconds([&] { runAll<Operation>(queue, count); }));
    print("flood", times, count);
}

void trip()
{
    constexpr int count = 2'000;
    OperationQueue queue(limit);
    std::vector<double> times;
    for (int i = 0; i < 21; ++i)
        times.push_back(microseconds([&] {
            for (int k = 0; k < count; ++k) {
                const auto operation = std::make_shared<Signalling>();
                queue.addOperation(operation);
                operation->done.lockWhenCondition(1);
            }
        }));
    print("trip", times, count);
}

void block()
{
    std::vector<double> cold;
    std::vector<double> warm;
    for (int i = 0; i < 21; ++i) {
        // The threads of the queue before have to be gone, or their end is measured with this one's beginning.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        OperationQueue queue(limit);
        cold.push_back(microseconds([&] { runAll<Sleeping>(queue, limit); }));
        warm.push_back(microseconds([&] { runAll<Sleeping>(queue, limit); }));
    }
    print("block cold", cold, 1);
    print("block warm", warm, 1);
}

} // namespace

int main()
{
    flood();
    trip();
    block();
}
