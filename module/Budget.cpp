// SPDX-License-Identifier: Apache-2.0
#include "Budget.h"

#include <ctime>

namespace kelvane::module {

Budget::Budget(double seconds, std::int64_t bytes) : _bytes(bytes), _end(now() + seconds) {}

double Budget::now()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace kelvane::module
