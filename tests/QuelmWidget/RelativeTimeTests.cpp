// SPDX-License-Identifier: MIT
#include "Text/RelativeTime.h"

#include <gtest/gtest.h>

namespace quelm {
namespace {

const Date start(1'700'000'000);

std::string since(double seconds, std::string_view locale = "en")
{
    return RelativeTime::text(start, start.addingSeconds(seconds), locale);
}

TEST(RelativeTimeTests, EnglishUnits)
{
    EXPECT_EQ(since(0), "0 sec");
    EXPECT_EQ(since(42.9), "42 sec");
    EXPECT_EQ(since(60), "1 min");
    EXPECT_EQ(since(5 * 60 + 59), "5 min");
    EXPECT_EQ(since(2 * 3600), "2 hr");
    EXPECT_EQ(since(2 * 3600 + 5 * 60 + 30), "2 hr, 5 min");
    EXPECT_EQ(since(3 * 86400), "3 days");
    EXPECT_EQ(since(3 * 86400 + 4 * 3600 + 59 * 60), "3 days, 4 hr");
}

TEST(RelativeTimeTests, FollowsTheLocale)
{
    EXPECT_EQ(since(2 * 3600 + 5 * 60, "pt_BR"), "2 h e 5 min");
    EXPECT_EQ(since(2 * 3600 + 5 * 60, "pt-BR"), "2 h e 5 min");
    EXPECT_EQ(since(2 * 3600 + 5 * 60, "pt_BR.UTF-8"), "2 h e 5 min");
    EXPECT_NE(since(2 * 3600 + 5 * 60, "de"), since(2 * 3600 + 5 * 60, "en"));
}

TEST(RelativeTimeTests, FutureStartCountsAsNoTime)
{
    EXPECT_EQ(since(-30), "0 sec");
}

TEST(RelativeTimeTests, EverySecondUnderAMinuteThenEveryMinute)
{
    EXPECT_EQ(RelativeTime::nextChange(start, start), start.addingSeconds(1));
    EXPECT_EQ(RelativeTime::nextChange(start, start.addingSeconds(58.5)), start.addingSeconds(59));
    EXPECT_EQ(RelativeTime::nextChange(start, start.addingSeconds(59.5)), start.addingSeconds(60));
    EXPECT_EQ(RelativeTime::nextChange(start, start.addingSeconds(60)), start.addingSeconds(120));
    EXPECT_EQ(RelativeTime::nextChange(start, start.addingSeconds(3 * 3600 + 61)), start.addingSeconds(3 * 3600 + 120));
    EXPECT_EQ(RelativeTime::nextChange(start, start.addingSeconds(86400 + 10)), start.addingSeconds(86400 + 3600));
    EXPECT_EQ(RelativeTime::nextChange(start, start.addingSeconds(-100)), start.addingSeconds(1));
}

TEST(RelativeTimeTests, TextChangesExactlyAtTheNextChange)
{
    for (const double elapsed : { 0.0, 12.3, 59.0, 61.0, 3599.0, 7300.0, 90000.0 }) {
        SCOPED_TRACE(elapsed);
        const Date now = start.addingSeconds(elapsed);
        const Date next = RelativeTime::nextChange(start, now);
        EXPECT_GT(next, now);
        EXPECT_EQ(RelativeTime::text(start, next.addingSeconds(-0.001), "en"), RelativeTime::text(start, now, "en"));
        EXPECT_NE(RelativeTime::text(start, next, "en"), RelativeTime::text(start, now, "en"));
    }
}

}
}
