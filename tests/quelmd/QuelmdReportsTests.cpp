// SPDX-License-Identifier: MIT
#include "SessionReport.h"
#include "StatusReport.h"
#include "UrlHandler.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace quelmd;
using quelm::test::TemporaryDirectory;

TEST(SessionReports, AReportedSessionReadsBackAndEnds)
{
    TemporaryDirectory directory;
    const std::filesystem::path folder = directory / "sessions";
    const SessionReport report { quelm::WidgetSession { "a b/../c", "Fix the build", "quelm", quelm::WidgetSession::State::working },
        "code ~/quelm", quelm::Date(1'700'000'000.5) };
    writeSessionReport(folder, report);
    EXPECT_EQ(quelm::test::entriesOf(folder), (std::vector<std::string> { "a%20b%2F..%2Fc.json" }));
    EXPECT_EQ(quelm::test::permissions(folder / "a%20b%2F..%2Fc.json"), 0600u);
    EXPECT_EQ(quelm::test::permissions(folder), 0700u);
    EXPECT_EQ(readSessionReports(folder), std::vector<SessionReport> { report });
    EXPECT_EQ(readSessionReport(folder, "a b/../c"), report);
    EXPECT_EQ(readSessionReport(folder, "other"), std::nullopt);

    EXPECT_TRUE(removeSessionReport(folder, "a b/../c"));
    EXPECT_FALSE(removeSessionReport(folder, "a b/../c"));
    EXPECT_TRUE(readSessionReports(folder).empty());
}

TEST(SessionReports, DamagedReportsAreSkipped)
{
    TemporaryDirectory directory;
    const std::filesystem::path folder = directory / "sessions";
    writeSessionReport(folder, { quelm::WidgetSession { "ok", "t", "p", quelm::WidgetSession::State::waitingForInput }, std::nullopt, quelm::Date(1) });
    quelm::test::writeFile(folder / "bad.json", "{\"id\": \"bad\", \"state\": \"sleeping\"}");
    quelm::test::writeFile(folder / "truncated.json", "{\"id\":");
    const std::vector<SessionReport> reports = readSessionReports(folder);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].session.id, "ok");
    EXPECT_EQ(reports[0].openCommand, std::nullopt);
}

TEST(StatusReports, EncodeAndDecodeEveryField)
{
    StatusReport report;
    report.updatedAt = quelm::Date(1'700'000'000.25);
    report.pid = 4242;
    report.container = "/home/ana/.local/share/group-containers/local.dev.quelm.Quelm";
    report.configuration = "/home/ana/.config/quelm/services.toml";
    report.configurationError = "services.toml:3: service[1].port: must be a whole number from 1 to 65535";
    report.services = {
        { "web", "web (dev)", "quelm-web.service", "active (running)", 5173, std::nullopt },
        { "db", "db", "postgresql.service", "failed (failed)", std::nullopt,
            ServiceFailure { quelm::Date(1'700'000'001), "postgresql.service exited with status 1" } },
    };
    EXPECT_EQ(decodeStatusReport(encodeStatusReport(report)), report);
    EXPECT_EQ(decodeStatusReport("{}"), std::nullopt);

    TemporaryDirectory directory;
    writeStatusReport(directory.path(), report);
    EXPECT_EQ(readStatusReport(directory.path()), report);
}

TEST(QuelmLinks, OpenAndSessionLinksAreRecognised)
{
    EXPECT_EQ(parseQuelmLink("quelm://open"), (QuelmLink { QuelmLink::Kind::open, {} }));
    EXPECT_EQ(parseQuelmLink("quelm://session/abc"), (QuelmLink { QuelmLink::Kind::session, "abc" }));
    EXPECT_EQ(parseQuelmLink("quelm://session/a%20b%23c"), (QuelmLink { QuelmLink::Kind::session, "a b#c" }));
    EXPECT_EQ(parseQuelmLink("quelm://session/"), std::nullopt);
    EXPECT_EQ(parseQuelmLink("quelm://session/a%2"), std::nullopt);
    EXPECT_EQ(parseQuelmLink("quelm://session/a%zz"), std::nullopt);
    EXPECT_EQ(parseQuelmLink("quelm://elsewhere"), std::nullopt);
    EXPECT_EQ(parseQuelmLink("https://open"), std::nullopt);
}
