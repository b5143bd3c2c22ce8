// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ZenLogger.h>

#include <tests/support/LogCapture.h>

#include <gmock/gmock.h>

#include <latch>
#include <stdexcept>
#include <thread>

using namespace kelvane;
using kelvane::testsupport::LogCapture;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

ZenLogger &logger()
{
    return ZenLogger::defaultLogger();
}

/// What reaches standard error while `action` runs.
template <class Action>
std::string shownBy(Action &&action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(ZenLogger, IsOneForAll)
{
    EXPECT_EQ(&ZenLogger::defaultLogger(), &ZenLogger::defaultLogger());
}

TEST(ZenLogger, ShowsInformationAndErrorsOnStandardErrorAndHidesDebug)
{
    EXPECT_FALSE(logger().isDebugEnabled());
    const std::string shown = shownBy([] {
        logger().ZenLogDebug("a detail");
        logger().ZenLogInfo("a fact");
        logger().ZenLogError("a failure");
    });
    EXPECT_THAT(shown, Not(HasSubstr("a detail")));
    EXPECT_THAT(shown, HasSubstr("info: a fact\n"));
    EXPECT_THAT(shown, EndsWith("error: a failure\n"));
}

TEST(ZenLogger, TheLevelDecidesWhatIsShown)
{
    logger().setLevel(LogLevel::Debug);
    EXPECT_TRUE(logger().isDebugEnabled());
    EXPECT_THAT(shownBy([] { logger().ZenLogDebug("a detail"); }), HasSubstr("debug: a detail"));
    logger().setLevel(LogLevel::Error);
    EXPECT_THAT(shownBy([] { logger().ZenLogInfo("a fact"); }), IsEmpty());
    EXPECT_FALSE(logger().isEnabled(LogLevel::Info));
    EXPECT_TRUE(logger().isEnabled(LogLevel::Error));
    logger().setLevel(LogLevel::Info);
}

TEST(ZenLogger, ControlCharactersDoNotReachTheTerminal)
{
    const std::string shown = shownBy([] {
        logger().ZenLogError(String(std::string_view("a\x1b[31mb\rc\0d\x7f", 12)));
        logger().ZenLogError("tab\there\nnext line");
        logger().ZenLogError("C1 \xc2\x9b end");
        logger().ZenLogError("turned \u202e\u2066\u061c\ufeff end, and not \u2010 \u2060");
        logger().ZenLogError("broken \xff\xc3 end");
        logger().ZenLogError("plain \xc3\xa4 \xe2\x82\xac \xf0\x9f\x8e\xb5 {} %s");
    });
    EXPECT_THAT(shown, HasSubstr("a\\x1b[31mb\\x0dc\\x00d\\x7f\n"));
    EXPECT_THAT(shown, HasSubstr("tab\there\nnext line\n"));
    EXPECT_THAT(shown, HasSubstr("C1 \\x9b end\n"));
    EXPECT_THAT(shown,
        HasSubstr("turned \\xe2\\x80\\xae\\xe2\\x81\\xa6\\xd8\\x9c\\xef\\xbb\\xbf end, and not \u2010 \u2060\n"));
    EXPECT_THAT(shown, HasSubstr("broken \\xff\\xc3 end\n"));
    EXPECT_THAT(shown, HasSubstr("plain \xc3\xa4 \xe2\x82\xac \xf0\x9f\x8e\xb5 {} %s\n"));
}

TEST(ZenLogger, ANullMessageIsAnEmptyLine)
{
    EXPECT_THAT(shownBy([] { logger().ZenLogError(String()); }), EndsWith("error: \n"));
}

TEST(ZenLogger, ASinkGetsTheLinesAsTheyAreInsteadOfStandardError)
{
    std::vector<std::pair<LogLevel, std::string>> lines;
    EXPECT_TRUE(logger()
                    .setSink([&](LogLevel level, const String &message) { lines.emplace_back(level, message.str()); })
                    .isNull());
    const std::string shown = shownBy([] {
        logger().ZenLogDebug("hidden");
        logger().ZenLogInfo("one\x1b");
        logger().ZenLogError("two");
    });
    EXPECT_FALSE(logger().setSink(nullptr).isNull());
    EXPECT_THAT(shown, IsEmpty());
    EXPECT_THAT(lines, ElementsAre(testing::Pair(LogLevel::Info, "one\x1b"), testing::Pair(LogLevel::Error, "two")));
    EXPECT_THAT(shownBy([] { logger().ZenLogInfo("back"); }), HasSubstr("back"));
}

TEST(ZenLogger, ASinkMayLogAndSetSinksItself)
{
    const LogCapture log;
    const LogSink outer = logger().setSink({});
    logger().setSink([outer](LogLevel, const String &) {
        logger().setSink(outer);
        logger().ZenLogInfo("from the sink");
    });
    logger().ZenLogInfo("first");
    EXPECT_THAT(log.infoLines(), ElementsAre("from the sink"));
}

TEST(ZenLogger, WhatASinkThrowsEndsThere)
{
    const LogSink before = logger().setSink([](LogLevel, const String &) { throw std::runtime_error("full"); });
    logger().ZenLogError("lost");
    logger().setSink([](LogLevel, const String &) { throw 1; });
    logger().ZenLogError("lost as well");
    logger().setSink(before);
    EXPECT_THAT(shownBy([] { logger().ZenLogError("seen"); }), HasSubstr("seen"));
}

TEST(ZenLogger, LinesFromManyThreadsAreAllThereWhileSinksChange)
{
    constexpr int threadCount = 4;
    constexpr int each = 500;
    const LogCapture log;
    const LogSink capture = logger().setSink({});
    logger().setSink(capture);
    std::latch start(threadCount + 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int k = 0; k < each; ++k)
                logger().ZenLogError("line");
        });
    }
    start.arrive_and_wait();
    for (int k = 0; k < each; ++k)
        logger().setSink([capture](LogLevel level, const String &message) { capture(level, message); });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(log.errorLines().size(), std::size_t{threadCount * each});
}

TEST(LogCapture, SortsByLevelAndRestoresWhatWasThere)
{
    const LogCapture outer;
    {
        const LogCapture inner;
        logger().ZenLogDebug("d");
        logger().ZenLogInfo("i");
        logger().ZenLogError("e");
        EXPECT_THAT(inner.debugLines(), ElementsAre("d"));
        EXPECT_THAT(inner.infoLines(), ElementsAre("i"));
        EXPECT_THAT(inner.errorLines(), ElementsAre("e"));
    }
    logger().ZenLogInfo("outside");
    EXPECT_THAT(outer.infoLines(), ElementsAre("outside"));
    EXPECT_THAT(outer.errorLines(), IsEmpty());
}
