// SPDX-License-Identifier: MIT
#pragma once

// Helpers of the host tests: one headless Qt application for the whole program, a container
// and a settings folder of the test's own, and waiting on the event loop with a deadline.

#include "TestSupport.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include <cstdlib>
#include <functional>
#include <memory>

namespace quelm::test {

// Long enough for a loaded CI machine; the awaited events normally take milliseconds.
inline constexpr int eventDeadlineMilliseconds = 10000;

namespace detail {

// The application must be gone before the program's static objects are: QTest keeps a static
// pointing device whose destruction after the application's crashes at exit.
class ApplicationEnvironment : public ::testing::Environment {
public:
    QApplication& application()
    {
        if (!m_application) {
            ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
            m_application = std::make_unique<QApplication>(m_argc, m_argv);
            QApplication::setQuitOnLastWindowClosed(false);
        }
        return *m_application;
    }
    void TearDown() override { m_application.reset(); }

private:
    int m_argc = 1;
    char m_name[17] = "quelm-host-tests";
    char* m_argv[2] = { m_name, nullptr };
    std::unique_ptr<QApplication> m_application;
};

// gtest owns the environment and tears it down when the last test has run.
inline ApplicationEnvironment* const applicationEnvironment
    = static_cast<ApplicationEnvironment*>(::testing::AddGlobalTestEnvironment(new ApplicationEnvironment));

}

inline QApplication& hostApplication()
{
    return detail::applicationEnvironment->application();
}

// Runs the event loop until `done` holds; false when the deadline passes first.
inline bool waitFor(const std::function<bool()>& done, int milliseconds = eventDeadlineMilliseconds)
{
    return QTest::qWaitFor(done, milliseconds);
}

// XDG_DATA_HOME and XDG_CONFIG_HOME in a temporary directory, so the app group's container and
// widgets.json are the test's own.
class HostTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { hostApplication(); }

    SharedStore store() const { return *SharedStore::forAppGroup(SharedConstants::appGroupIdentifier); }
    std::filesystem::path settingsFile() const { return directory / "config" / "quelm" / "widgets.json"; }

    TemporaryDirectory directory;

private:
    ScopedEnvironment m_dataHome { "XDG_DATA_HOME", (directory / "data").string() };
    ScopedEnvironment m_configHome { "XDG_CONFIG_HOME", (directory / "config").string() };
};

}
