// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kelvane::testsupport {

/// A real browser without a window, steered through its debugging pipe. Shows one page.
class Browser {
public:
    /// Whether there is one on this machine.
    [[nodiscard]] static bool isPresent();

    /// Starts it with a fresh profile in `profileFolder`.
    explicit Browser(const std::string &profileFolder);
    Browser(const Browser &) = delete;
    Browser &operator=(const Browser &) = delete;
    ~Browser();

    /// Opens a file and waits until it is loaded.
    void open(const std::string &path);
    /// The value of an expression in the page.
    nlohmann::json evaluate(const std::string &expression);
    /// Presses a key as a person does: "Tab", "Enter".
    void press(const std::string &key, int code, const std::string &text = "");
    /// Types a text, letter by letter.
    void type(const std::string &text);
    /// Calls one operation of the debugging protocol on the page.
    nlohmann::json call(const std::string &method, const nlohmann::json &parameters = nlohmann::json::object());

    /// What the page asked the network for since open(), beside itself.
    [[nodiscard]] const std::vector<std::string> &requests() const { return _requests; }
    /// What the browser has said of the page in its console.
    [[nodiscard]] const std::vector<std::string> &messages() const { return _messages; }

private:
    nlohmann::json receive();
    void take(const nlohmann::json &event);

    pid_t _pid = -1;
    int _input = -1;
    int _output = -1;
    int _lastId = 0;
    std::string _session;
    std::string _received;
    std::string _lastEvent;
    std::vector<std::string> _requests;
    std::vector<std::string> _messages;
};

} // namespace kelvane::testsupport
