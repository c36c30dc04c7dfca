// SPDX-License-Identifier: MIT
// The store when the machine says no: a file-size limit, a full file system, a read-only mount,
// a container without write permission, no file descriptors left. The two writers that create
// state for the other process (writeSnapshot, enqueue) throw the platform's error and leave the
// previous files whole, with no temporary file behind; every other operation stays silent and
// every read degrades to its neutral result or still finds the previous files.

#include <quelm/SharedStore.h>

#include "ChildProcess.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <map>
#include <sstream>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::ChildOutcome;
using quelm::test::TemporaryDirectory;
using quelm::test::readFile;
using quelm::test::runInChild;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0;
const Date now(aMoment);

// A child's message for a test that cannot run where it runs.
constexpr const char* unsupported = "unsupported: ";

WidgetSnapshot snapshotWith(const std::string& title, std::size_t items = 1)
{
    WidgetSnapshot snapshot;
    for (std::size_t i = 0; i < items; ++i)
        snapshot.items.push_back(WidgetItem { "item-" + std::to_string(i), title, "node", true });
    snapshot.updatedAt = Date(aMoment - 30);
    return snapshot;
}

WidgetCommand commandFor(const std::string& itemID)
{
    return WidgetCommand(itemID, WidgetCommand::Action::start, Uuid::random(), Date(aMoment - 5));
}

std::map<std::string, std::string> fingerprint(const fs::path& directory)
{
    std::map<std::string, std::string> entries;
    for (auto it = fs::recursive_directory_iterator(directory); it != fs::recursive_directory_iterator(); ++it) {
        const auto relative = fs::relative(it->path(), directory).string();
        entries[relative] = it->is_regular_file() ? readFile(it->path()) : "(directory)";
    }
    return entries;
}

class Findings {
public:
    void expect(bool condition, const std::string& what)
    {
        if (!condition)
            m_text << what << '\n';
    }

    // `write` must throw the error `expected`.
    void expectFailure(const std::string& what, std::errc expected, const std::function<void()>& write)
    {
        try {
            write();
            expect(false, what + " succeeded");
        } catch (const std::system_error& error) {
            expect(error.code() == expected, what + " failed with another error: " + error.what());
        } catch (const std::exception& error) {
            expect(false, what + " threw something else: " + error.what());
        }
    }

    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

// What the container held before the fault: a snapshot, a beat, one command, one mark.
class ResourceFault : public testing::Test {
protected:
    void SetUp() override
    {
        store.writeSnapshot(previousSnapshot);
        store.touchHeartbeat(now.addingSeconds(-10));
        store.enqueue(previousCommand);
        store.markPending(previousCommand);
        before = fingerprint(container);
    }

    // The reads that still find the previous files.
    void expectPreviousState(Findings& findings) const
    {
        findings.expect(store.readSnapshot() == previousSnapshot, "the previous snapshot does not read back");
        findings.expect(store.appStatus(now) == SharedStore::AppStatus::running, "the previous beat does not read back");
        findings.expect(store.pendingCommands(WidgetSnapshot::empty, now, 20) == PendingCommands { { "api", previousCommand } },
            "the previous mark does not read back");
    }

    // Every write, under a fault that fails them all with `error`.
    void expectEveryWriteToFail(Findings& findings, std::errc error) const
    {
        findings.expectFailure("writeSnapshot", error, [&] { store.writeSnapshot(snapshotWith("new")); });
        findings.expectFailure("enqueue", error, [&] { store.enqueue(commandFor("db")); });
        store.touchHeartbeat(now);
        store.markPending(commandFor("db"));
    }

    void expectNothingChanged() const { EXPECT_EQ(fingerprint(container), before); }

    TemporaryDirectory temporary;
    fs::path container = temporary / "container";
    SharedStore store { container };
    WidgetSnapshot previousSnapshot = snapshotWith("previous");
    WidgetCommand previousCommand = commandFor("api");
    std::map<std::string, std::string> before;
};

// In a child: a mount namespace of its own, so what it mounts is gone with it.
std::string enterPrivateMountNamespace()
{
    if (::unshare(CLONE_NEWNS) != 0)
        return std::string(unsupported) + "no mount namespace (" + std::strerror(errno) + ")";
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return std::string(unsupported) + "mounts cannot be made private (" + std::strerror(errno) + ")";
    return {};
}

void skipOrExpectSuccess(const ChildOutcome& outcome)
{
    if (outcome.report.rfind(unsupported, 0) == 0)
        GTEST_SKIP() << outcome.report;
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
}

}

TEST_F(ResourceFault, AFileSizeLimitOfZeroFailsEveryWrite)
{
    auto outcome = runInChild([&] {
        // The default action of SIGXFSZ ends the process; ignored, the write fails with EFBIG.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit { 0, 0 };
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return std::string("setrlimit: ") + std::strerror(errno);
        Findings findings;
        expectEveryWriteToFail(findings, std::errc::file_too_large);
        expectPreviousState(findings);
        return findings.text();
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    expectNothingChanged();
}

TEST_F(ResourceFault, AFileSizeLimitReachedHalfwayFailsTheWriteAndKeepsThePreviousFile)
{
    auto outcome = runInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit { 4096, 4096 };
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return std::string("setrlimit: ") + std::strerror(errno);
        Findings findings;
        // Each of these documents is larger than the limit: the first 4096 bytes go out, the rest fail.
        findings.expectFailure("writeSnapshot", std::errc::file_too_large, [&] { store.writeSnapshot(snapshotWith("new", 200)); });
        findings.expectFailure("enqueue", std::errc::file_too_large, [&] { store.enqueue(commandFor(std::string(8192, 'x'))); });
        store.markPending(commandFor(std::string(8192, 'x')));
        expectPreviousState(findings);
        return findings.text();
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    expectNothingChanged();
}

TEST_F(ResourceFault, AFullFileSystemFailsEveryWriteAndKeepsThePreviousFiles)
{
    auto outcome = runInChild([&] {
        if (auto failure = enterPrivateMountNamespace(); !failure.empty())
            return failure;
        // A small file system of its own over an empty directory, holding a copy of the container.
        const auto small = temporary / "small";
        fs::create_directory(small);
        if (::mount("quelm-full", small.c_str(), "tmpfs", 0, "size=256k,mode=0700") != 0)
            return std::string(unsupported) + "cannot mount a tmpfs (" + std::strerror(errno) + ")";
        const SharedStore full(small / "container");
        full.writeSnapshot(previousSnapshot);
        full.touchHeartbeat(now.addingSeconds(-10));
        full.enqueue(previousCommand);
        full.markPending(previousCommand);
        const auto held = fingerprint(full.root());

        // Fill it to the last byte.
        const int filler = ::open((small / "filler").c_str(), O_WRONLY | O_CREAT, 0600);
        const std::string block(4096, 'f');
        while (::write(filler, block.data(), block.size()) > 0) {
        }
        while (::write(filler, "f", 1) > 0) {
        }
        const int error = errno;
        ::close(filler);
        if (error != ENOSPC)
            return std::string("filling the file system ended with ") + std::strerror(error);

        Findings findings;
        findings.expectFailure("writeSnapshot", std::errc::no_space_on_device, [&] { full.writeSnapshot(snapshotWith("new")); });
        findings.expectFailure("enqueue", std::errc::no_space_on_device, [&] { full.enqueue(commandFor("db")); });
        full.touchHeartbeat(now);
        full.markPending(commandFor("db"));
        findings.expect(full.readSnapshot() == previousSnapshot, "the previous snapshot does not read back");
        findings.expect(full.appStatus(now) == SharedStore::AppStatus::running, "the previous beat does not read back");
        findings.expect(full.pendingCommands(WidgetSnapshot::empty, now, 20).size() == 1, "the previous mark does not read back");
        findings.expect(fingerprint(full.root()) == held, "the full file system's container changed");
        // Draining frees space and works.
        findings.expect(full.drainCommands() == std::vector<WidgetCommand> { previousCommand }, "the drain missed the command");
        return findings.text();
    });
    skipOrExpectSuccess(outcome);
}

TEST_F(ResourceFault, AReadOnlyMountFailsEveryWriteAndStillReads)
{
    auto outcome = runInChild([&] {
        if (auto failure = enterPrivateMountNamespace(); !failure.empty())
            return failure;
        if (::mount(container.c_str(), container.c_str(), nullptr, MS_BIND, nullptr) != 0
            || ::mount(nullptr, container.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return std::string(unsupported) + "cannot mount the container read-only (" + std::strerror(errno) + ")";
        Findings findings;
        expectEveryWriteToFail(findings, std::errc::read_only_file_system);
        expectPreviousState(findings);
        // What cannot be deleted is read again by the next drain.
        findings.expect(store.drainCommands() == std::vector<WidgetCommand> { previousCommand }, "the drain missed the command");
        findings.expect(store.drainCommands() == std::vector<WidgetCommand> { previousCommand }, "the command was not read again");
        return findings.text();
    });
    skipOrExpectSuccess(outcome);
    expectNothingChanged();
}

TEST_F(ResourceFault, AContainerWithoutWritePermissionFailsEveryWriteAndStillReads)
{
    // The reader owns the container, which is read-only even to its owner.
    ASSERT_EQ(::chmod(temporary.path().c_str(), 0755), 0);
    if (::geteuid() == 0) {
        for (const auto& entry : fs::recursive_directory_iterator(container))
            ASSERT_EQ(::lchown(entry.path().c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chown(container.c_str(), test::nobody, test::nobody), 0);
    }
    ASSERT_EQ(::chmod((container / "commands").c_str(), 0500), 0);
    ASSERT_EQ(::chmod(container.c_str(), 0500), 0);

    auto outcome = runInChild([&] {
        if (auto failure = test::becomeUnprivileged(); !failure.empty())
            return failure;
        Findings findings;
        expectEveryWriteToFail(findings, std::errc::permission_denied);
        expectPreviousState(findings);
        findings.expect(store.drainCommands() == std::vector<WidgetCommand> { previousCommand }, "the drain missed the command");
        findings.expect(store.drainCommands() == std::vector<WidgetCommand> { previousCommand }, "the command was not read again");
        return findings.text();
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    ASSERT_EQ(::chmod(container.c_str(), 0700), 0);
    ASSERT_EQ(::chmod((container / "commands").c_str(), 0700), 0);
    expectNothingChanged();
}

TEST_F(ResourceFault, WithoutFileDescriptorsReadsDegradeAndWritesFail)
{
    auto outcome = runInChild([&] {
        const rlimit limit { 32, 32 };
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0)
            return std::string("setrlimit: ") + std::strerror(errno);
        while (::open("/dev/null", O_RDONLY) >= 0) {
        }
        if (errno != EMFILE)
            return std::string("using up the descriptors ended with ") + std::strerror(errno);

        Findings findings;
        expectEveryWriteToFail(findings, std::errc::too_many_files_open);
        findings.expect(store.readSnapshot() == WidgetSnapshot::empty, "read a snapshot without a descriptor");
        findings.expect(store.appStatus(now) == SharedStore::AppStatus::notRunning, "read a beat without a descriptor");
        findings.expect(store.pendingCommands(WidgetSnapshot::empty, now, 20).empty(), "read marks without a descriptor");
        findings.expect(store.drainCommands().empty(), "drained without a descriptor");
        return findings.text();
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    expectNothingChanged();
}
