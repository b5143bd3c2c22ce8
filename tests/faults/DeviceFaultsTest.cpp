// SPDX-License-Identifier: Apache-2.0
// The list of phones and tablets when calls of the system fail: it is whole, or the command fails.
#include "ToolFaults.h"

#include <tests/support/UsbDevices.h>

namespace kelvane::testsupport {
namespace {

class DeviceFaults : public ToolFaults {
protected:
    DeviceFaults()
    {
        usb.plugIn({"1-2", 0x04E8, 0x6860, "SAMSUNG", "Galaxy", "R58M", {{255, 255, 0, "MTP"}, {255, 66, 1, ""}}});
        usb.plugIn({"2-3", 0x2717, 0xFF40, "Xiaomi", "Pad 5", "d3ad", {{255, 255, 0, "MTP"}}});
    }

    UsbDevices usb;
};

TEST_P(DeviceFaults, AListOfDevicesIsCompleteOrTheCommandFails)
{
    if (GetParam().kind == FaultShort)
        GTEST_SKIP() << "the system's files on devices are never read in parts, and libudev takes a part for the whole";
    expectSameOutput({"devices", "--json"});
}

KELVANE_ALL_FAULTS(DeviceFaults);

} // namespace
} // namespace kelvane::testsupport
