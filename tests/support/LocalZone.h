// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <cstdlib>
#include <ctime>

namespace kelvane::testsupport {

/// Sets the local time zone of the process as long as it lives. No other thread may run meanwhile.
class LocalZone {
public:
    explicit LocalZone(const char *name)
    {
        if (const char *before = std::getenv("TZ"))
            _before = before;
        setenv("TZ", name, 1);
        tzset();
    }
    ~LocalZone()
    {
        if (_before.isNull())
            unsetenv("TZ");
        else
            setenv("TZ", _before.c_str(), 1);
        tzset();
    }
    LocalZone(const LocalZone &) = delete;
    LocalZone &operator=(const LocalZone &) = delete;

private:
    String _before;
};

} // namespace kelvane::testsupport
