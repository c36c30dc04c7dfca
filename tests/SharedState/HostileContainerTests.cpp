// SPDX-License-Identifier: MIT
// A container that another program of the user (or another user) has filled with traps: links
// leading out of it, loops, FIFOs, sockets, huge and deeply nested files, bytes that are not
// UTF-8, files the reader may not open. The store must not hang, must not read anything from
// outside the container into the widget, must not delete anything outside it, and must keep its
// memory bounded; reads degrade to their neutral results and writes either replace the trap or
// throw.

#include <quelm/SharedStore.h>

#include "ChildProcess.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>

#include <fcntl.h>
#include <malloc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::ChildOutcome;
using quelm::test::TemporaryDirectory;
using quelm::test::makeSocket;
using quelm::test::readFile;
using quelm::test::runInChild;
using quelm::test::writeFile;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0;
const Date now(aMoment);

WidgetSnapshot sampleSnapshot()
{
    WidgetSnapshot snapshot;
    snapshot.items = { WidgetItem { "api", "API", "node", true, std::nullopt, 8080, Date(aMoment - 60) } };
    snapshot.language = "en";
    snapshot.updatedAt = Date(aMoment - 30);
    return snapshot;
}

WidgetCommand sampleCommand(const std::string& itemID = "api")
{
    return WidgetCommand(itemID, WidgetCommand::Action::stop, Uuid::random(), Date(aMoment - 1));
}

// Everything under `directory`, without following links: relative path → kind and content.
std::map<std::string, std::string> fingerprint(const fs::path& directory)
{
    std::map<std::string, std::string> entries;
    for (auto it = fs::recursive_directory_iterator(directory); it != fs::recursive_directory_iterator(); ++it) {
        const auto relative = fs::relative(it->path(), directory).string();
        if (it->is_symlink())
            entries[relative] = "link to " + fs::read_symlink(it->path()).string();
        else if (it->is_regular_file())
            entries[relative] = "file " + readFile(it->path());
        else if (it->is_directory())
            entries[relative] = "directory";
        else
            entries[relative] = "other";
    }
    return entries;
}

void makeSparseFile(const fs::path& path, off_t size)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0) << std::strerror(errno);
    ASSERT_EQ(::ftruncate(fd, size), 0) << std::strerror(errno);
    ::close(fd);
}

// Collects a child's findings as lines.
class Findings {
public:
    void expect(bool condition, const std::string& what)
    {
        if (!condition)
            m_text << what << '\n';
    }
    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
};

class HostileContainer : public testing::Test {
protected:
    void SetUp() override
    {
        // Traversable by the unprivileged reader of the permission tests.
        ASSERT_EQ(::chmod(temporary.path().c_str(), 0755), 0);
        fs::create_directory(container);
        outsideStore.writeSnapshot(sampleSnapshot());
        outsideStore.touchHeartbeat(now.addingSeconds(-1));
        outsideCommand = sampleCommand();
        outsideStore.enqueue(outsideCommand);
        outsideStore.markPending(outsideCommand);
        outsideBefore = fingerprint(outside);
    }

    // Whatever the test did, nothing outside the container changed.
    void TearDown() override { EXPECT_EQ(fingerprint(outside), outsideBefore); }

    void expectNeutralReads(const std::string& context) const
    {
        SCOPED_TRACE(context);
        EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
        EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::notRunning);
        EXPECT_TRUE(store.pendingCommands(WidgetSnapshot::empty, now, 20).empty());
        EXPECT_TRUE(store.drainCommands().empty());
    }

    TemporaryDirectory temporary;
    fs::path container = temporary / "container";
    SharedStore store { container };
    // A healthy container beside it, for the traps to point at.
    fs::path outside = temporary / "outside";
    SharedStore outsideStore { outside };
    WidgetCommand outsideCommand;
    std::map<std::string, std::string> outsideBefore;

    const std::vector<std::string> fileNames { "snapshot.json", "heartbeat", "pending.json" };
};

}

// Links

TEST_F(HostileContainer, LinksToFilesOutsideAreNeverRead)
{
    for (const auto& name : fileNames)
        fs::create_symlink(outside / name, container / name);
    fs::create_symlink(outside / "commands", container / "commands");
    // Through the links the reads would find a running app, a snapshot, a mark and a command.
    expectNeutralReads("links to the healthy container");
}

TEST_F(HostileContainer, WritesReplaceLinksInsteadOfWritingThroughThem)
{
    for (const auto& name : fileNames)
        fs::create_symlink(outside / name, container / name);

    WidgetSnapshot mine = sampleSnapshot();
    mine.language = "pt";
    store.writeSnapshot(mine);
    store.touchHeartbeat(now);
    const auto command = sampleCommand("db");
    store.markPending(command);

    for (const auto& name : fileNames)
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(container / name))) << name;
    EXPECT_EQ(store.readSnapshot(), mine);
    EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::running);
    // The mark starts afresh: the linked file was never read.
    EXPECT_EQ(store.pendingCommands(WidgetSnapshot::empty, now, 20), (PendingCommands { { "db", command } }));
}

TEST_F(HostileContainer, LinksToDirectoriesDanglingLinksAndLoopsReadAsNothing)
{
    const std::vector<std::pair<std::string, std::function<void(const fs::path&)>>> traps {
        { "a link to a directory", [&](const fs::path& path) { fs::create_directory_symlink(outside, path); } },
        { "a dangling link", [&](const fs::path& path) { fs::create_symlink(temporary / "nowhere", path); } },
        { "a link to itself", [&](const fs::path& path) { fs::create_symlink(path.filename(), path); } },
        { "two links in a loop", [&](const fs::path& path) {
             fs::create_symlink(path.filename().string() + ".other", path);
             fs::create_symlink(path.filename(), path.string() + ".other");
         } },
    };
    for (const auto& [description, makeTrap] : traps) {
        fs::remove_all(container);
        fs::create_directory(container);
        for (const auto& name : fileNames)
            makeTrap(container / name);
        makeTrap(container / "commands");
        expectNeutralReads(description);

        // The writers of the files replace the trap itself; enqueue cannot use such a directory.
        store.writeSnapshot(sampleSnapshot());
        store.touchHeartbeat(now);
        store.markPending(sampleCommand());
        for (const auto& name : fileNames)
            EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(container / name))) << description << ": " << name;
        EXPECT_EQ(store.readSnapshot(), sampleSnapshot()) << description;
        EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::running) << description;
        if (description == "a link to a directory")
            continue; // a link to a directory is a directory to create, checked below
        EXPECT_THROW(store.enqueue(sampleCommand()), std::system_error) << description;
    }
}

TEST_F(HostileContainer, LinksInsideTheQueueAreRemovedWithoutTouchingWhatTheyPointAt)
{
    fs::create_directory(container / "commands");
    const auto commandFile = outside / "commands" / (outsideCommand.id.string() + ".json");
    fs::create_symlink(commandFile, container / "commands" / (outsideCommand.id.string() + ".json"));
    fs::create_directory_symlink(outside, container / "commands" / "to-a-directory");
    fs::create_symlink(temporary / "nowhere", container / "commands" / "dangling");
    fs::create_symlink("loop", container / "commands" / "loop");

    EXPECT_TRUE(store.drainCommands().empty());
    EXPECT_TRUE(fs::is_empty(container / "commands"));
}

TEST_F(HostileContainer, ARootThatIsALinkToADirectoryIsUsedAsTheContainer)
{
    // A user may keep the data directory elsewhere; the root is taken as configured.
    const auto elsewhere = temporary / "elsewhere";
    fs::create_directory(elsewhere);
    const SharedStore linked(temporary / "linked-root");
    fs::create_directory_symlink(elsewhere, linked.root());

    linked.writeSnapshot(sampleSnapshot());
    linked.enqueue(sampleCommand());
    EXPECT_EQ(linked.readSnapshot(), sampleSnapshot());
    EXPECT_EQ(linked.drainCommands().size(), 1u);
    EXPECT_TRUE(fs::is_regular_file(elsewhere / "snapshot.json"));
}

TEST_F(HostileContainer, ARootThatIsADanglingLinkOrALoopDegradesAndCreatesNothing)
{
    const SharedStore dangling(temporary / "dangling-root");
    fs::create_symlink(temporary / "not-yet", dangling.root());
    const SharedStore loop(temporary / "loop-root");
    fs::create_symlink("loop-root", loop.root());

    for (const auto* root : { &dangling, &loop }) {
        SCOPED_TRACE(root->root().string());
        EXPECT_EQ(root->readSnapshot(), WidgetSnapshot::empty);
        EXPECT_EQ(root->appStatus(now), SharedStore::AppStatus::notRunning);
        EXPECT_TRUE(root->pendingCommands(WidgetSnapshot::empty, now, 20).empty());
        EXPECT_TRUE(root->drainCommands().empty());
        EXPECT_THROW(root->writeSnapshot(sampleSnapshot()), std::system_error);
        EXPECT_THROW(root->enqueue(sampleCommand()), std::system_error);
        root->touchHeartbeat(now);
        root->markPending(sampleCommand());
    }
    EXPECT_FALSE(fs::exists(fs::symlink_status(temporary / "not-yet")));
}

// Special files

TEST_F(HostileContainer, FifosAndSocketsNeitherBlockNorCountAsDocuments)
{
    for (const auto& name : fileNames)
        ASSERT_EQ(::mkfifo((container / name).c_str(), 0600), 0);
    fs::create_directory(container / "commands");
    ASSERT_EQ(::mkfifo((container / "commands" / "fifo.json").c_str(), 0600), 0);
    makeSocket(container / "commands" / "socket.json");

    // A reader stuck on a FIFO would never return: the child's deadline turns that into a failure.
    ChildOutcome readers = runInChild(
        [&] {
            Findings findings;
            findings.expect(store.readSnapshot() == WidgetSnapshot::empty, "a FIFO read as a snapshot");
            findings.expect(store.appStatus(now) == SharedStore::AppStatus::notRunning, "a FIFO read as a heartbeat");
            findings.expect(store.pendingCommands(WidgetSnapshot::empty, now, 20).empty(), "a FIFO read as marks");
            findings.expect(store.drainCommands().empty(), "a FIFO or socket drained as a command");
            return findings.text();
        },
        std::chrono::seconds(10));
    EXPECT_TRUE(readers.succeeded()) << readers.describe();
    EXPECT_TRUE(fs::is_empty(container / "commands"));

    for (const auto& name : fileNames) {
        fs::remove(container / name);
        makeSocket(container / name);
    }
    expectNeutralReads("sockets");

    // The writers replace them.
    store.markPending(sampleCommand());
    store.writeSnapshot(sampleSnapshot());
    EXPECT_EQ(store.readSnapshot(), sampleSnapshot());
    EXPECT_EQ(store.pendingCommands(WidgetSnapshot::empty, now, 20).size(), 1u);
}

TEST_F(HostileContainer, AFifoInPlaceOfTheQueueIsNeitherOpenedNorReplaced)
{
    ASSERT_EQ(::mkfifo((container / "commands").c_str(), 0600), 0);
    ChildOutcome outcome = runInChild(
        [&] {
            Findings findings;
            findings.expect(store.drainCommands().empty(), "a FIFO drained");
            try {
                store.enqueue(sampleCommand());
                findings.expect(false, "enqueue wrote into a FIFO");
            } catch (const std::system_error&) {
            }
            return findings.text();
        },
        std::chrono::seconds(10));
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    EXPECT_TRUE(fs::is_fifo(container / "commands"));
}

TEST_F(HostileContainer, ADirectoryInPlaceOfASnapshotIsNeitherReadNorEmptied)
{
    fs::create_directories(container / "snapshot.json" / "inside");
    writeFile(container / "snapshot.json" / "inside" / "keep", "mine");
    EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
    EXPECT_THROW(store.writeSnapshot(sampleSnapshot()), std::system_error);
    EXPECT_EQ(readFile(container / "snapshot.json" / "inside" / "keep"), "mine");
    // And the failed write left no temporary file.
    std::vector<std::string> entries;
    for (const auto& entry : fs::directory_iterator(container))
        entries.push_back(entry.path().filename().string());
    EXPECT_EQ(entries, std::vector<std::string> { "snapshot.json" });
}

// Size and shape

TEST_F(HostileContainer, GibibyteFilesAreRefusedUnreadWithBoundedMemory)
{
    constexpr off_t gibibyte = off_t(1) << 30;
    for (const auto& name : fileNames)
        makeSparseFile(container / name, gibibyte);
    fs::create_directory(container / "commands");
    makeSparseFile(container / "commands" / "huge.json", gibibyte);

    ChildOutcome outcome = runInChild(
        [&] {
            Findings findings;
            if (!test::resetPeakResident())
                return std::string(); // no way to measure here; the reads are checked below anyway
            const long before = test::peakResidentKiB();
            findings.expect(store.readSnapshot() == WidgetSnapshot::empty, "a huge snapshot was read");
            findings.expect(store.appStatus(now) == SharedStore::AppStatus::notRunning, "a huge heartbeat was read");
            findings.expect(store.pendingCommands(WidgetSnapshot::empty, now, 20).empty(), "a huge pending file was read");
            findings.expect(store.drainCommands().empty(), "a huge command file was read");
            const long grown = test::peakResidentKiB() - before;
            findings.expect(grown < 16 * 1024, "reading grew the process by " + std::to_string(grown) + " KiB");
            return findings.text();
        },
        std::chrono::seconds(20));
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    EXPECT_TRUE(fs::is_empty(container / "commands"));

    // A mark over the huge file replaces it with one entry.
    store.markPending(sampleCommand());
    EXPECT_LT(fs::file_size(container / "pending.json"), 1024u);
}

namespace {

constexpr std::size_t documentCap = 16 * 1024 * 1024;

// `{"items":[<element>,<element>,…]<tail>`, exactly `size` bytes: as many whole elements as fit,
// then spaces. `count` is set to the number of elements.
std::string documentOfElements(const std::string& element, const std::string& tail, std::size_t size, std::size_t& count)
{
    std::string document = R"({"items":[)";
    const std::size_t end = size - tail.size() - 1;
    count = 0;
    while (document.size() + element.size() + 1 <= end) {
        if (count++ > 0)
            document += ',';
        document += element;
    }
    document.append(end - document.size(), ' ');
    return document + "]" + tail;
}

struct PeakRead {
    std::string report;
    double peakMiB = 0;
};

// Reads in a fresh child, which reports how far its resident memory rose above where it stood
// before `read`, or what `check` found wrong with what was read.
template<class Read, class Check>
PeakRead measurePeakRead(Read read, Check check)
{
    PeakRead result;
    const auto outcome = runInChild(
        [&] {
            // Memory the parent freed but kept would take the read's allocations unseen.
            ::malloc_trim(0);
            if (!test::resetPeakResident())
                return std::string("unmeasurable: the kernel cannot reset the peak");
            const long before = test::peakResidentKiB();
            const auto records = read();
            const long peak = test::peakResidentKiB();
            if (auto problem = check(records); !problem.empty())
                return problem;
            // Reported as a finding, the only way text leaves the child; told apart by its prefix.
            return "peak " + std::to_string(peak - before);
        },
        // Memory is what is measured here; time depends on the machine's load and the build
        // (a sanitized one on a busy machine took minutes), so the child is waited for.
        test::noDeadline);
    if (outcome.report.rfind("unmeasurable", 0) == 0) {
        result.report = outcome.report;
        return result;
    }
    if (outcome.exitCode != 1 || outcome.report.rfind("peak ", 0) != 0) {
        result.report = outcome.describe();
        return result;
    }
    result.peakMiB = double(std::stol(outcome.report.substr(5))) / 1024.0;
    return result;
}

// Whether a read of a document at the cap stayed within three times the cap.
void expectWithinThreeTimesTheCap(const PeakRead& read, const std::string& shape)
{
    ASSERT_EQ(read.report, "");
    std::cout << "a 16 MiB document of " << shape << " peaks at " << read.peakMiB << " MiB\n";
    testing::Test::RecordProperty("peakMiB_" + shape, std::to_string(read.peakMiB));
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // The sanitizers' allocators pad and keep freed memory: the figure means nothing there.
#else
    EXPECT_LE(read.peakMiB, 3.0 * 16) << shape;
#endif
}

}

// A reader holds a document at the cap whole and decodes records straight from its bytes: the
// worst case must stay a small multiple of the cap, whatever shape the document has.
TEST_F(HostileContainer, SnapshotsAtTheCapAreReadWithinThreeTimesTheCap)
{
    const std::string updated = R"(,"updatedAt":1})";
    const std::string item = R"({"id":"item","title":"Item","category":"node","isRunning":true,"port":8080})";
    // The most records a document at the cap can hold: each costs more memory than its bytes.
    const std::string smallestItem = R"({"id":"","title":"","category":"","isRunning":true})";
    std::size_t zeros = 0;
    std::size_t items = 0;
    std::size_t smallestItems = 0;
    const std::size_t letters = documentCap - 40;
    // Escaped and multi-byte letters: six bytes of "\u00e9" and two of "é" each read as two.
    std::string escaped;
    while (escaped.size() + 8 <= letters)
        escaped += "\\u00e9\xc3\xa9";
    const std::vector<std::pair<std::string, std::string>> shapes {
        { "zeros", documentOfElements("0", updated, documentCap, zeros) },
        { "items", documentOfElements(item, updated, documentCap, items) },
        { "smallest items", documentOfElements(smallestItem, updated, documentCap, smallestItems) },
        { "string", R"({"items":[],"language":")" + std::string(letters, 'a') + R"(","updatedAt":1})" },
        { "escaped string", R"({"items":[],"language":")" + escaped + R"(","updatedAt":1})" + std::string(letters - escaped.size(), ' ') },
    };
    // Two bytes an element: the most values a document at the cap can hold.
    ASSERT_GT(zeros, documentCap / 2 - 16);
    for (const auto& [shape, document] : shapes) {
        SCOPED_TRACE(shape);
        ASSERT_LE(document.size(), documentCap);
        ASSERT_GT(document.size(), documentCap - 64);
        writeFile(container / "snapshot.json", document);
        const auto read = measurePeakRead([&] { return store.readSnapshot(); }, [&](const WidgetSnapshot& snapshot) -> std::string {
            // Zeros are no items: that document is refused.
            if (shape == "zeros" && !(snapshot == WidgetSnapshot::empty))
                return "an array of zeros decoded";
            if (shape == "items" && snapshot.items.size() != items)
                return "read " + std::to_string(snapshot.items.size()) + " of " + std::to_string(items) + " items";
            if (shape == "smallest items" && snapshot.items.size() != smallestItems)
                return "read " + std::to_string(snapshot.items.size()) + " of " + std::to_string(smallestItems) + " items";
            if (shape == "string" && (!snapshot.language || snapshot.language->size() != letters))
                return "the long string did not read whole";
            if (shape == "escaped string" && (!snapshot.language || snapshot.language->size() != escaped.size() / 2))
                return "the escaped string did not read whole";
            return {};
        });
        if (read.report.rfind("unmeasurable", 0) == 0)
            GTEST_SKIP() << read.report;
        expectWithinThreeTimesTheCap(read, shape);
    }
}

TEST_F(HostileContainer, PendingMarksAtTheCapAreReadWithinThreeTimesTheCap)
{
    std::string document = "{";
    std::size_t marks = 0;
    for (;;) {
        const auto command = sampleCommand("item-" + std::to_string(marks));
        const auto entry = "\"" + command.itemID + "\":" + encode(command);
        if (document.size() + entry.size() + 2 > documentCap)
            break;
        document += (marks++ > 0 ? "," : "") + entry;
    }
    document += "}";
    document.append(documentCap - document.size(), ' ');
    writeFile(container / "pending.json", document);
    const auto read = measurePeakRead([&] { return store.pendingCommands(WidgetSnapshot::empty, now, 20); },
        [&](const PendingCommands& pending) -> std::string {
            if (pending.size() != marks)
                return "read " + std::to_string(pending.size()) + " of " + std::to_string(marks) + " marks";
            return {};
        });
    if (read.report.rfind("unmeasurable", 0) == 0)
        GTEST_SKIP() << read.report;
    expectWithinThreeTimesTheCap(read, "pending marks");
}

TEST_F(HostileContainer, DeeplyNestedDocumentsReadAsNothing)
{
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    for (const auto& name : fileNames)
        writeFile(container / name, deep);
    fs::create_directory(container / "commands");
    writeFile(container / "commands" / "deep.json", std::string(30'000, '{'));
    expectNeutralReads("100,000 nested arrays");
    EXPECT_TRUE(fs::is_empty(container / "commands"));

    store.markPending(sampleCommand());
    EXPECT_EQ(store.pendingCommands(WidgetSnapshot::empty, now, 20).size(), 1u);
}

TEST_F(HostileContainer, BytesThatAreNotUtf8ReadAsNothing)
{
    const auto command = sampleCommand();
    const std::vector<std::pair<std::string, std::string>> badBytes {
        { "a stray byte", "\xff" },
        { "an overlong slash", "\xc0\xaf" },
        { "a lone surrogate", "\xed\xa0\x80" },
        { "a cut sequence", "\xe2\x82" },
    };
    for (const auto& [description, bytes] : badBytes) {
        SCOPED_TRACE(description);
        auto snapshot = encode(sampleSnapshot());
        snapshot.replace(snapshot.find("API"), 3, bytes);
        writeFile(container / "snapshot.json", snapshot);
        writeFile(container / "heartbeat", "1700000000" + bytes);
        auto pending = encode(PendingCommands { { command.itemID, command } });
        pending.replace(pending.find("\"api\""), 5, "\"" + bytes + "\"");
        writeFile(container / "pending.json", pending);
        fs::create_directories(container / "commands");
        auto commandText = encode(command);
        commandText.replace(commandText.find("\"api\""), 5, "\"" + bytes + "\"");
        writeFile(container / "commands" / (command.id.string() + ".json"), commandText);
        expectNeutralReads(description);
    }
}

TEST_F(HostileContainer, ThousandsOfForeignEntriesAreDrainedAway)
{
    fs::create_directory(container / "commands");
    for (int i = 0; i < 3000; ++i)
        writeFile(container / "commands" / ("junk-" + std::to_string(i)), i % 2 ? "{}" : "");
    const auto command = sampleCommand();
    store.enqueue(command);
    EXPECT_EQ(store.drainCommands(), std::vector<WidgetCommand> { command });
    EXPECT_TRUE(fs::is_empty(container / "commands"));
}

// Permissions

TEST_F(HostileContainer, AnotherUsersFilesDegradeForTheReaderAndAreLeftAlone)
{
    // Everything written by this (privileged) process, private to it; the reader is someone else.
    ASSERT_EQ(::chmod(container.c_str(), 0755), 0);
    store.writeSnapshot(sampleSnapshot());
    store.touchHeartbeat(now);
    const auto command = sampleCommand();
    store.enqueue(command);
    store.markPending(command);
    const auto before = fingerprint(container);
    const bool privileged = ::geteuid() == 0;
    if (!privileged) {
        // Not root: the child stays who we are, so close the container to ourselves instead.
        for (const auto& name : fileNames)
            ASSERT_EQ(::chmod((container / name).c_str(), 0), 0);
        ASSERT_EQ(::chmod((container / "commands").c_str(), 0), 0);
        ASSERT_EQ(::chmod(container.c_str(), 0555), 0);
    }

    ChildOutcome outcome = runInChild([&] {
        if (auto failure = test::becomeUnprivileged(); !failure.empty())
            return failure;
        Findings findings;
        findings.expect(store.readSnapshot() == WidgetSnapshot::empty, "read another user's snapshot");
        findings.expect(store.appStatus(now) == SharedStore::AppStatus::noAccess, "the heartbeat's permission was not noticed");
        findings.expect(store.pendingCommands(WidgetSnapshot::empty, now, 20).empty(), "read another user's marks");
        findings.expect(store.drainCommands().empty(), "drained another user's queue");
        store.markPending(sampleCommand("db"));
        store.touchHeartbeat(now.addingSeconds(5));
        for (const auto& write : std::vector<std::function<void()>> { [&] { store.writeSnapshot(sampleSnapshot()); },
                 [&] { store.enqueue(sampleCommand()); } }) {
            try {
                write();
                findings.expect(false, "wrote into another user's container");
            } catch (const std::system_error& error) {
                findings.expect(error.code() == std::errc::permission_denied, std::string("unexpected error: ") + error.what());
            }
        }
        return findings.text();
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    if (!privileged) {
        ASSERT_EQ(::chmod(container.c_str(), 0755), 0);
        for (const auto& name : fileNames)
            ASSERT_EQ(::chmod((container / name).c_str(), 0600), 0);
        ASSERT_EQ(::chmod((container / "commands").c_str(), 0700), 0);
    }
    EXPECT_EQ(fingerprint(container), before);
}

TEST_F(HostileContainer, AQueueTheReaderMayReadButNotEmptyIsReadAgainLater)
{
    const auto command = sampleCommand();
    store.enqueue(command);
    const auto file = container / "commands" / (command.id.string() + ".json");
    // The reader's own container (another user's would be refused outright).
    if (::geteuid() == 0) {
        for (const auto& entry : fs::recursive_directory_iterator(container))
            ASSERT_EQ(::lchown(entry.path().c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chown(container.c_str(), test::nobody, test::nobody), 0);
    }
    ASSERT_EQ(::chmod(container.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    // Listable and readable, not writable: what the reader takes it cannot delete.
    ASSERT_EQ(::chmod((container / "commands").c_str(), 0555), 0);

    ChildOutcome outcome = runInChild([&] {
        if (auto failure = test::becomeUnprivileged(); !failure.empty())
            return failure;
        Findings findings;
        findings.expect(store.drainCommands() == std::vector<WidgetCommand> { command }, "the first drain missed the command");
        findings.expect(store.drainCommands() == std::vector<WidgetCommand> { command }, "the second drain missed the command");
        return findings.text();
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    ASSERT_EQ(::chmod((container / "commands").c_str(), 0700), 0);
    EXPECT_TRUE(fs::exists(file));
}
