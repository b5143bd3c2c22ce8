// SPDX-License-Identifier: Apache-2.0
#include "Flatness.h"

#include <gmock/gmock.h>

namespace kelvane::soak {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Rounds of a tenth of a minute, as `figuresAt` gives them.
template <class FiguresAt>
std::vector<Sample> samplesOf(FiguresAt figuresAt)
{
    std::vector<Sample> samples;
    for (int i = 0; i < 200; ++i)
        samples.push_back({i / 10.0, i, figuresAt(i)});
    return samples;
}

TEST(RobustSlope, IsThatOfMostPoints)
{
    std::vector<Point> points;
    for (int i = 0; i < 30; ++i)
        points.push_back({double{1} * i, i % 10 == 3 ? 1e6 : 2.5 * i});
    EXPECT_NEAR(robustSlope(points), 2.5, 0.2);
    EXPECT_EQ(robustSlope({}), 0);
    EXPECT_EQ(robustSlope({{1, 5}}), 0);
}

TEST(Flatness, OfAProcessThatStaysAsItIs)
{
    // Noise of a hundred KiB, and a peak.
    const auto samples = samplesOf([](int i) {
        return ProcessFigures{9000 + i * 37 % 100 + (i == 50 ? 5000 : 0), 3000 + i % 7, 20000, 9, 2};
    });
    EXPECT_THAT(Flatness(samples, true).problems(), IsEmpty());
}

TEST(Flatness, NoticesMemoryThatIsLostALittleAtATime)
{
    const auto samples = samplesOf([](int i) { return ProcessFigures{9000 + i * 37 % 100, 3000 + i, 20000, 9, 2}; });
    EXPECT_THAT(Flatness(samples, true).problems(), ElementsAre("memory in use grows"));
    EXPECT_THAT(Flatness(samples, false).problems(), IsEmpty());
}

TEST(Flatness, NoticesOneDescriptorAndOneThread)
{
    const auto samples = samplesOf([](int i) {
        return ProcessFigures{9000, 3000, 20000, i > 150 ? 10 : 9, i == 199 ? 3 : 2};
    });
    EXPECT_THAT(Flatness(samples, false).problems(),
        ElementsAre(
            "descriptors are not as many as after the warm-up", "threads are not as many as after the warm-up"));
}

TEST(Flatness, IsNotClaimedOfOneSample)
{
    EXPECT_THAT(
        Flatness(std::vector<Sample>(1), true).problems(), ElementsAre("too few samples after the warm-up to tell"));
}

} // namespace
} // namespace kelvane::soak
