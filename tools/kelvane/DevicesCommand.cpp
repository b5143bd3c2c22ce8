// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Interruption.h"
#include "JsonText.h"
#include "Text.h"

#include <kelvane/data/DeviceInfo.h>
#include <kelvane/foundation/Array.h>
#include <kelvane/platform/UsbDiscovery.h>

#include <atomic>
#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace kelvane::tool {
namespace {

struct Options {
    bool isWatching = false;
    bool showsAll = false;
    bool isJson = false;
};

std::string platformName(std::uint64_t code)
{
    switch (code) {
    case 1:
        return "debug bridge";
    case 2:
        return "media transfer";
    case 4:
        return "object exchange";
    case 8:
        return "multiplexer";
    default:
        return "-";
    }
}

/// Whether the interface is there that an application expects of a device of its platform.
std::string interfaceText(const DeviceInfo &device)
{
    std::int32_t ignored = 0;
    if (!device.GetExpectInterfaceCompat(ignored, ignored, ignored))
        return "-";
    return device.expectInterfaceStatus() == 0 ? "ready" : "missing";
}

std::string identityText(const DeviceInfo &device)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04x:%04x", static_cast<unsigned>(device.VID()) & 0xFFFFU,
        static_cast<unsigned>(device.PID()) & 0xFFFFU);
    return text;
}

std::string textOf(const String &text)
{
    return text.isEmpty() ? "-" : printable(text.view());
}

Json jsonOf(const DeviceInfo &device)
{
    Json json{{"id", jsonValue(device.Id())}, {"displayName", jsonValue(device.displayName())},
        {"vendorId", device.VID()}, {"productId", device.PID()}, {"manufacturer", jsonValue(device.manufacturer())},
        {"productName", jsonValue(device.usbProductName())}, {"model", jsonValue(device.model())},
        {"serialNumber", jsonValue(device.serialNumber())}, {"platform", device.OSPlatform()},
        {"interface", interfaceText(device)}};
    Json interfaces = Json::array();
    for (const Value &one : device.deviceInfoDic()["DeviceInterface"].array()) {
        const Dictionary triple = one.dictionary();
        interfaces.push_back({triple["bInterfaceClass"].intValue(), triple["bInterfaceSubClass"].intValue(),
            triple["bInterfaceProtocol"].intValue()});
    }
    json["interfaces"] = interfaces;
    return json;
}

/// The columns of a device, fitted to widths that do not depend on the others: a device that comes later has its line
/// below those that were there.
std::string lineOf(const std::vector<std::string> &columns)
{
    constexpr std::size_t widths[] = {24, 9, 15, 9};
    std::string line;
    for (std::size_t i = 0; i < std::size(widths); ++i)
        line += fitted(columns[i], widths[i]) + "  ";
    return line + columns.back();
}

void printHeading(const Options &options, const char *prefix)
{
    if (!options.isJson)
        std::puts((prefix + lineOf({"Name", "USB id", "Platform", "Interface", "Serial"})).c_str());
}

void printDevice(const Options &options, const char *event, const Dictionary &properties)
{
    const DeviceInfo device(properties);
    if (options.isJson) {
        Json json;
        if (options.isWatching)
            json["event"] = event;
        json.update(jsonOf(device));
        printJsonLine(json);
        return;
    }
    const std::string prefix = options.isWatching ? fitted(event, 10) : std::string();
    std::puts((prefix
        + lineOf({textOf(device.displayName()), identityText(device), platformName(device.OSPlatform()),
            interfaceText(device), textOf(device.serialNumber())}))
                  .c_str());
    std::fflush(stdout);
}

bool isShown(const Options &options, const Dictionary &properties)
{
    return options.showsAll || properties["osplatform"].intValue() != 0;
}

class Printer : public UsbDiscoveryDelegate {
public:
    explicit Printer(const Options &options) : _options(options) {}
    void usbDeviceAttached(const Dictionary &properties) override { print("attached", properties); }
    void usbDeviceChanged(const Dictionary &properties) override { print("changed", properties); }
    void usbDeviceDetached(const Dictionary &properties) override { print("detached", properties); }

private:
    void print(const char *event, const Dictionary &properties) const
    {
        if (isShown(_options, properties))
            printDevice(_options, event, properties);
    }

    const Options _options;
};

ExitCode watchDevices(const Options &options)
{
    Interruption::install();
    std::promise<void> ended;
    std::atomic<bool> isEnded{false};
    UsbDiscovery discovery;
    printHeading(options, "          ");
    std::fflush(stdout);
    const auto printer = std::make_shared<Printer>(options);
    if (!discovery.start(printer))
        throw StopError(ExitCannotStart, "cannot watch devices: this system does not tell of them");
    Interruption::whenRequested([&] {
        if (!isEnded.exchange(true)) // a signal that comes just now is told of here and by its own thread
            ended.set_value();
    });
    ended.get_future().wait();
    discovery.stop();
    Interruption::whenRequested({});
    return ExitInterrupted;
}

ExitCode listDevices(const Options &options)
{
    std::vector<Dictionary> shown;
    bool isComplete = true;
    for (const Value &device : UsbDiscovery::devices(isComplete)) {
        if (isShown(options, device.dictionary()))
            shown.push_back(device.dictionary());
    }
    if (shown.empty() && !options.isJson && isComplete)
        std::puts(options.showsAll ? "no devices" : "no phones or tablets (--all shows other devices)");
    else
        printHeading(options, "");
    for (const Dictionary &device : shown)
        printDevice(options, "", device);
    if (!isComplete)
        throw StopError(ExitSomeFailed, "the system did not tell of all devices");
    return ExitDone;
}

} // namespace

Command defineDevicesCommand(CLI::App &application)
{
    const auto options = std::make_shared<Options>();
    Command command = addCommand(application,
        {"devices", "List phones and tablets that are plugged in", "[OPTIONS]",
            {"A device shows as one for media transfer, for instance, once it is unlocked and its owner has allowed "
             "it. Ctrl-C ends --watch, with exit code 130."},
            {"kelvane devices --watch"}, {ExitDone, ExitSomeFailed, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print one object a line as JSON"});
    command.definition->add_flag(
        "-w,--watch", options->isWatching, "Go on telling of devices that come and go, until interrupted");
    command.definition->add_flag("-a,--all", options->showsAll, "Show all USB devices but hubs");
    command.run = [options, output = command.output] {
        options->isJson = output->isJson;
        return options->isWatching ? watchDevices(*options) : listDevices(*options);
    };
    return command;
}

} // namespace kelvane::tool
