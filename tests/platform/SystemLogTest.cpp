// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/SystemLog.h>

#include <gmock/gmock.h>

#include <stdexcept>
#include <syslog.h>
#include <vector>

using namespace kelvane;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

SystemLog &systemLog()
{
    return SystemLog::defaultLog();
}

} // namespace

TEST(SystemLog, WritesToTheSystemWithControlCharactersEscaped)
{
    openlog("kelvane-test", LOG_PERROR, LOG_USER); // copies what is written to standard error
    testing::internal::CaptureStderr();
    systemLog().log("100%s of \x1b[31m it");
    const std::string shown = testing::internal::GetCapturedStderr();
    closelog();
    EXPECT_THAT(shown, HasSubstr("kelvane-test: 100%s of \\x1b[31m it"));
}

TEST(SystemLog, ASinkGetsTheLinesAsTheyAre)
{
    std::vector<std::string> lines;
    const LogSink before = systemLog().setSink([&](LogLevel level, const String &message) {
        EXPECT_EQ(level, LogLevel::Info);
        lines.push_back(message.str());
    });
    systemLog().log("one");
    systemLog().log("two\x1b");
    systemLog().setSink(before);
    EXPECT_THAT(lines, ElementsAre("one", "two\x1b"));
}

TEST(SystemLog, WhatASinkThrowsEndsThere)
{
    int calls = 0;
    const LogSink before = systemLog().setSink([&](LogLevel, const String &) {
        ++calls;
        throw std::runtime_error("full");
    });
    systemLog().log("lost");
    systemLog().setSink(before);
    EXPECT_EQ(calls, 1);
}
