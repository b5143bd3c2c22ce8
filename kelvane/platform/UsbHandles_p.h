// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libudev.h>
#include <memory>

namespace kelvane {

// What udev hands out, given back when it goes.
template <class T, auto release>
struct Release {
    void operator()(T *object) const noexcept { release(object); }
};
template <class T, auto release>
using Handle = std::unique_ptr<T, Release<T, release>>;
using Udev = Handle<udev, udev_unref>;
using UdevDevice = Handle<udev_device, udev_device_unref>;
using UdevEnumeration = Handle<udev_enumerate, udev_enumerate_unref>;
using UdevMonitor = Handle<udev_monitor, udev_monitor_unref>;

} // namespace kelvane
