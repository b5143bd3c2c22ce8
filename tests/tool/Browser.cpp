// SPDX-License-Identifier: Apache-2.0
#include "Browser.h"

#include "TerminalFixture.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

constexpr int theirInput = 3; // where the browser looks for its pipe
constexpr int theirOutput = 4;

[[noreturn]] void becomeBrowser(int input, int output, const std::string &profileFolder)
{
    // Away from the two numbers first, lest one of the pipes has the other's.
    const int from = ::fcntl(input, F_DUPFD, 10);
    const int to = ::fcntl(output, F_DUPFD, 10);
    ::dup2(from, theirInput);
    ::dup2(to, theirOutput);
    ::dup2(::open("/dev/null", O_RDWR), STDOUT_FILENO);
    ::dup2(STDOUT_FILENO, STDERR_FILENO);
    const std::string profile = "--user-data-dir=" + profileFolder;
    ::execlp("chromium", "chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
        "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
        "--remote-debugging-pipe", profile.c_str(), nullptr);
    ::_exit(127);
}

} // namespace

bool Browser::isPresent()
{
    return !shell("command -v chromium").empty();
}

Browser::Browser(const std::string &profileFolder)
{
    std::array<int, 2> toBrowser{};
    std::array<int, 2> fromBrowser{};
    if (::pipe2(toBrowser.data(), O_CLOEXEC) != 0 || ::pipe2(fromBrowser.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipes");
    _pid = ::fork();
    if (_pid == 0)
        becomeBrowser(toBrowser[0], fromBrowser[1], profileFolder);
    ::close(toBrowser[0]);
    ::close(fromBrowser[1]);
    _input = toBrowser[1];
    _output = fromBrowser[0];
    const nlohmann::json target = call("Target.createTarget", {{"url", "about:blank"}});
    _session = call("Target.attachToTarget", {{"targetId", target["targetId"]}, {"flatten", true}})["sessionId"];
    for (const char *part : {"Page.enable", "Network.enable", "Log.enable", "Runtime.enable"})
        call(part);
}

Browser::~Browser()
{
    try {
        _session.clear();
        call("Browser.close");
    } catch (const std::exception &) {
        ::kill(_pid, SIGKILL);
    }
    ::close(_input);
    ::close(_output);
    ::waitpid(_pid, nullptr, 0);
}

nlohmann::json Browser::receive()
{
    for (;;) {
        const std::size_t end = _received.find('\0');
        if (end != std::string::npos) {
            const nlohmann::json message = nlohmann::json::parse(_received.substr(0, end));
            _received.erase(0, end + 1);
            return message;
        }
        std::array<char, 65536> block{};
        const ssize_t count = ::read(_output, block.data(), block.size());
        if (count <= 0)
            throw std::runtime_error("the browser has gone");
        _received.append(block.data(), static_cast<std::size_t>(count));
    }
}

void Browser::take(const nlohmann::json &event)
{
    _lastEvent = event.value("method", "");
    if (_lastEvent == "Network.requestWillBeSent") {
        const std::string url = event["params"]["request"]["url"];
        if (!url.starts_with("data:") && event["params"].value("type", "") != "Document")
            _requests.push_back(url);
    } else if (_lastEvent == "Log.entryAdded" || _lastEvent == "Runtime.exceptionThrown") {
        _messages.push_back(event["params"].dump());
    }
}

nlohmann::json Browser::call(const std::string &method, const nlohmann::json &parameters)
{
    nlohmann::json message{{"id", ++_lastId}, {"method", method}, {"params", parameters}};
    if (!_session.empty())
        message["sessionId"] = _session;
    const std::string text = message.dump();
    if (::write(_input, text.c_str(), text.size() + 1) != static_cast<ssize_t>(text.size() + 1))
        throw std::runtime_error("the browser does not listen");
    for (;;) {
        const nlohmann::json answer = receive();
        if (answer.value("id", 0) != _lastId) {
            take(answer);
            continue;
        }
        if (answer.contains("error"))
            throw std::runtime_error(method + ": " + answer["error"].dump());
        return answer["result"];
    }
}

void Browser::open(const std::string &path)
{
    _requests.clear();
    _messages.clear();
    _lastEvent.clear();
    call("Page.navigate", {{"url", "file://" + path}});
    while (_lastEvent != "Page.loadEventFired")
        take(receive());
}

nlohmann::json Browser::evaluate(const std::string &expression)
{
    const nlohmann::json answer =
        call("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}, {"awaitPromise", true}});
    if (answer.contains("exceptionDetails"))
        throw std::runtime_error(answer["exceptionDetails"].dump());
    return answer["result"].value("value", nlohmann::json());
}

void Browser::press(const std::string &key, int code, const std::string &text)
{
    nlohmann::json event{{"type", "keyDown"}, {"key", key}, {"code", key}, {"windowsVirtualKeyCode", code}};
    if (!text.empty())
        event["text"] = text;
    call("Input.dispatchKeyEvent", event);
    event.erase("text");
    event["type"] = "keyUp";
    call("Input.dispatchKeyEvent", event);
}

void Browser::type(const std::string &text)
{
    for (const char letter : text)
        call("Input.dispatchKeyEvent", {{"type", "char"}, {"text", std::string(1, letter)}});
}

} // namespace kelvane::testsupport
