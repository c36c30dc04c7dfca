// SPDX-License-Identifier: MIT
// `quelmctl session`: what an agent's hook runs, and the report it leaves for quelmd.

#include "QuelmdProcess.h"
#include "SessionReport.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace quelm::test;

namespace {

class SessionCommand : public ::testing::Test {
protected:
    void SetUp() override { m_runtime.emplace("XDG_RUNTIME_DIR", m_directory.path().string()); }

    ProgramResult quelmctl(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), programPath("QUELMCTL"));
        return runProgram(arguments);
    }

    std::filesystem::path sessions() const { return m_directory / "quelm" / "sessions"; }

    TemporaryDirectory m_directory;
    std::optional<ScopedEnvironment> m_runtime;
};

}

TEST_F(SessionCommand, SetReportsTheSessionAndEndRemovesIt)
{
    const quelm::Date before = quelm::Date::now();
    const ProgramResult set = quelmctl({ "session", "set", "s-1", "--title", "Ajustar o widget", "--project", "quelm", "--state",
        "waitingForInput", "--open", "code ~/quelm" });
    ASSERT_EQ(set.exitCode, 0) << set.output;
    const std::optional<quelmd::SessionReport> report = quelmd::readSessionReport(sessions(), "s-1");
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(report->session, (quelm::WidgetSession { "s-1", "Ajustar o widget", "quelm", quelm::WidgetSession::State::waitingForInput }));
    EXPECT_EQ(report->openCommand, "code ~/quelm");
    EXPECT_GE(report->updatedAt.secondsSince1970(), before.secondsSince1970());

    const ProgramResult update = quelmctl({ "session", "set", "s-1", "--title", "Ajustar o widget", "--project", "quelm", "--state", "working" });
    ASSERT_EQ(update.exitCode, 0) << update.output;
    EXPECT_EQ(quelmd::readSessionReport(sessions(), "s-1")->session.state, quelm::WidgetSession::State::working);
    EXPECT_EQ(quelmd::readSessionReport(sessions(), "s-1")->openCommand, std::nullopt);

    const ProgramResult end = quelmctl({ "session", "end", "s-1" });
    ASSERT_EQ(end.exitCode, 0) << end.output;
    EXPECT_FALSE(quelmd::readSessionReport(sessions(), "s-1").has_value());
    EXPECT_NE(quelmctl({ "session", "end", "s-1" }).output.find("was not reported"), std::string::npos);
}

TEST_F(SessionCommand, RefusesAnIncompleteOrWrongReport)
{
    EXPECT_EQ(quelmctl({ "session" }).exitCode, 2);
    EXPECT_EQ(quelmctl({ "session", "pause", "s" }).exitCode, 2);
    EXPECT_EQ(quelmctl({ "session", "set", "s", "--title", "t", "--project", "p" }).exitCode, 2);
    const ProgramResult state = quelmctl({ "session", "set", "s", "--title", "t", "--project", "p", "--state", "sleeping" });
    EXPECT_EQ(state.exitCode, 2);
    EXPECT_NE(state.output.find("working, needsApproval or waitingForInput"), std::string::npos) << state.output;
    EXPECT_EQ(quelmctl({ "session", "end" }).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(sessions()));
}
