// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>

#include <memory>

namespace kelvane {

/// Hears of USB devices that come and go. Called on the thread of the discovery; what it throws is logged.
///
/// Intended: stop() by another thread waits until a call has ended, so that nobody is told of anything afterwards.
class KELVANE_EXPORT UsbDiscoveryDelegate {
public:
    virtual ~UsbDiscoveryDelegate();
    /// A device is there: at once for each that was there when the discovery started.
    virtual void usbDeviceAttached(const Dictionary & /*properties*/) {}
    /// A device has other properties than before: it was configured, or switched to another mode, without being
    /// unplugged.
    virtual void usbDeviceChanged(const Dictionary & /*properties*/) {}
    /// A device is gone; `properties` are the last that were known.
    virtual void usbDeviceDetached(const Dictionary & /*properties*/) {}
};

/// Finds the USB devices that are plugged in, and watches them come and go. Hubs are left out.
///
/// A device is told by its properties, which is what a DeviceInfo is made from:
///
///   "locationID"                  number    bus in the top byte, then a nibble for the port of each hub on the way
///   "idVendor", "idProduct"       number
///   "USB Serial Number", "USB Product Name", "manufacturer", "model"  text, absent where the device has none
///   "bDeviceClass", "bDeviceSubClass", "bDeviceProtocol"              number
///   "DeviceInterface"             array of dictionaries with "bInterfaceClass", "bInterfaceSubClass" and
///                                 "bInterfaceProtocol" (numbers): the interfaces of the configuration that the device
///                                 is in, of all its configurations where it is in none
///   "osplatform"                  number, by the first line that holds:
///
///     8  the multiplexer interface 255/254/2 of vendor 0x05AC: reached through a service of the system
///     1  a debug bridge, 255/66/1 (its boot loader, 255/66/3, is another thing)
///     2  picture or media transfer: 6/1/1, or the vendor form 255/255/0 of an interface that names itself "MTP"
///     4  object exchange, 2/11/1
///     0  none of these: no phone or tablet, or one that is locked or only charges
///
/// Threads: any thread, any operation; one at a time for one object. start() makes a thread, which the delegate is called
/// on.
/// Ownership: does not own its delegate.
/// Errors: where the system tells nothing of its devices there are none, and start() answers false.
class KELVANE_EXPORT UsbDiscovery {
public:
    UsbDiscovery();
    /// Stops.
    ~UsbDiscovery();
    UsbDiscovery(const UsbDiscovery &) = delete;
    UsbDiscovery &operator=(const UsbDiscovery &) = delete;

    /// The properties of each device that is plugged in, in the order of their locations.
    [[nodiscard]] static Array devices();
    /// The same, and whether these are all: false where the system failed to tell of a device or of a part of one.
    [[nodiscard]] static Array devices(bool &isComplete);

    /// Begins to tell `delegate` of devices. False if it has begun already, or the system does not tell.
    bool start(std::weak_ptr<UsbDiscoveryDelegate> delegate);
    /// Ends it: the delegate is not called any more once this returns (a call that this is called from goes on). It may be
    /// started again.
    void stop();

private:
    struct Watch;
    std::shared_ptr<Watch> _watch;
};

} // namespace kelvane
