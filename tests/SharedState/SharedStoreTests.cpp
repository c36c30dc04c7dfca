// SPDX-License-Identifier: MIT
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include "../../SharedState/src/Heartbeat.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::ScopedEnvironment;
using quelm::test::TemporaryDirectory;
using quelm::test::entriesOf;
using quelm::test::permissions;
using quelm::test::readFile;
using quelm::test::writeFile;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0; // 2023-11-14T22:13:20Z
constexpr uid_t nobody = 65534;

WidgetSnapshot sampleSnapshot(double updatedAt = aMoment)
{
    WidgetSnapshot snapshot;
    snapshot.items = {
        WidgetItem { "api", "API", "node", true, WidgetItem::Transition::stopping, 8080, Date(aMoment - 60) },
        WidgetItem { "db", "Postgres", "database", false },
    };
    snapshot.groups = { WidgetGroup("group:web", "Web", 2, 1, false) };
    snapshot.sessions = { WidgetSession { "s1", "Refactor", "quelm", WidgetSession::State::needsApproval } };
    snapshot.language = "en";
    snapshot.updatedAt = Date(updatedAt);
    return snapshot;
}

// Runs `body` in a child process and returns its exit code (or 128 + the signal that ended it).
int inChild(const std::function<int()>& body)
{
    pid_t child = ::fork();
    if (child < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) {
        int code = 125;
        try {
            code = body();
        } catch (...) {
        }
        ::_exit(code);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

constexpr int couldNotDropPrivileges = 120;

// The app status as a reader without privileges sees it: root reads any file, so a root test
// process asks from a child that has become the user nobody first.
int appStatusAsUnprivilegedReader(const SharedStore& store, Date now)
{
    return inChild([&] {
        if (::geteuid() == 0) {
            if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)
                return couldNotDropPrivileges;
        }
        return 10 + static_cast<int>(store.appStatus(now));
    });
}

int exitCodeFor(SharedStore::AppStatus status)
{
    return 10 + static_cast<int>(status);
}

}

// Locating the container

TEST(SharedStoreContainer, RootConstructorKeepsThePathAndCreatesNothing)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary / "not" / "there");
    EXPECT_EQ(store.root(), temporary / "not" / "there");
    EXPECT_TRUE(entriesOf(temporary.path()).empty());
}

TEST(SharedStoreContainer, AppGroupLivesUnderAbsoluteXdgDataHome)
{
    ScopedEnvironment data("XDG_DATA_HOME", "/srv/data");
    ScopedEnvironment home("HOME", "/home/someone");
    auto store = SharedStore::forAppGroup("local.dev.quelm.Quelm");
    ASSERT_TRUE(store);
    EXPECT_EQ(store->root(), fs::path("/srv/data/group-containers/local.dev.quelm.Quelm"));
}

TEST(SharedStoreContainer, AppGroupFallsBackToHomeWhenXdgDataHomeIsUnsetEmptyOrRelative)
{
    ScopedEnvironment home("HOME", "/home/someone");
    const fs::path expected = "/home/someone/.local/share/group-containers/local.dev.quelm.Quelm";
    {
        ScopedEnvironment data("XDG_DATA_HOME", std::nullopt);
        auto store = SharedStore::forAppGroup("local.dev.quelm.Quelm");
        ASSERT_TRUE(store);
        EXPECT_EQ(store->root(), expected);
    }
    for (const char* notAbsolute : { "", "relative/data", "./data", "~/data" }) {
        ScopedEnvironment data("XDG_DATA_HOME", notAbsolute);
        auto store = SharedStore::forAppGroup("local.dev.quelm.Quelm");
        ASSERT_TRUE(store) << notAbsolute;
        EXPECT_EQ(store->root(), expected) << notAbsolute;
    }
}

TEST(SharedStoreContainer, NoContainerWithoutAnAbsoluteXdgDataHomeOrHome)
{
    ScopedEnvironment data("XDG_DATA_HOME", "relative");
    {
        ScopedEnvironment home("HOME", std::nullopt);
        EXPECT_FALSE(SharedStore::forAppGroup("local.dev.quelm.Quelm"));
    }
    for (const char* notAbsolute : { "", "home/someone" }) {
        ScopedEnvironment home("HOME", notAbsolute);
        EXPECT_FALSE(SharedStore::forAppGroup("local.dev.quelm.Quelm")) << notAbsolute;
    }
}

TEST(SharedStoreContainer, NoContainerForGroupsThatAreNoSingleDirectoryName)
{
    ScopedEnvironment data("XDG_DATA_HOME", "/srv/data");
    for (std::string_view group : { std::string_view(""), std::string_view("."), std::string_view(".."),
             std::string_view("a/b"), std::string_view("/abs"), std::string_view("group/"), std::string_view("a\0b", 3) }) {
        EXPECT_FALSE(SharedStore::forAppGroup(group)) << group;
    }
    // Dots are fine elsewhere.
    auto store = SharedStore::forAppGroup("...");
    ASSERT_TRUE(store);
    EXPECT_EQ(store->root(), fs::path("/srv/data/group-containers/..."));
}

TEST(SharedStoreContainer, AppGroupCreatesNothing)
{
    TemporaryDirectory data;
    ScopedEnvironment environment("XDG_DATA_HOME", data.path().string());
    auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    ASSERT_TRUE(store);
    EXPECT_EQ(store->root(), data / "group-containers" / std::string(SharedConstants::appGroupIdentifier));
    EXPECT_TRUE(entriesOf(data.path()).empty());
}

TEST(SharedStoreContainer, AppStatusRawValues)
{
    using Status = SharedStore::AppStatus;
    for (auto [status, raw] : { std::pair { Status::running, "running" }, std::pair { Status::notRunning, "notRunning" },
             std::pair { Status::noAccess, "noAccess" } }) {
        EXPECT_EQ(rawValue(status), raw);
        EXPECT_EQ(fromRawValue<Status>(raw), status);
    }
    EXPECT_FALSE(fromRawValue<Status>("Running"));
    EXPECT_FALSE(fromRawValue<Status>(""));
}

// Snapshot

TEST(SharedStoreSnapshot, BeforeTheAppHasEverRunTheSnapshotIsEmptyAndTheAppIsNotRunning)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary / "container");
    EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::notRunning);

    fs::create_directory(store.root());
    EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::notRunning);
    EXPECT_TRUE(entriesOf(store.root()).empty());
}

TEST(SharedStoreSnapshot, WrittenSnapshotReadsBackEqual)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    auto snapshot = sampleSnapshot();
    store.writeSnapshot(snapshot);
    EXPECT_EQ(store.readSnapshot(), snapshot);
    EXPECT_EQ(readFile(temporary / "snapshot.json"), encode(snapshot));
}

TEST(SharedStoreSnapshot, EmptyObjectTruncatedOrForeignDocumentReadsAsEmptyAndStaysAsItIs)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    auto whole = encode(sampleSnapshot());
    for (const std::string& bytes : { std::string("{}"), whole.substr(0, whole.size() / 2), std::string(""),
             std::string("[]"), std::string(R"({"items":[{"id":"a"}],"updatedAt":1})"), std::string("\xff\xfe\x00\x01", 4) }) {
        writeFile(temporary / "snapshot.json", bytes);
        EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty) << bytes;
        EXPECT_EQ(readFile(temporary / "snapshot.json"), bytes);
    }
}

namespace {

// Several mebibytes of items: large enough that the reader gives back the pages it has read.
WidgetSnapshot manyItemsSnapshot()
{
    WidgetSnapshot snapshot = sampleSnapshot();
    for (int index = 0; index < 60000; ++index)
        snapshot.items.push_back(WidgetItem { "item-" + std::to_string(index), "Item " + std::to_string(index), "node", index % 2 == 0 });
    return snapshot;
}

}

TEST(SharedStoreSnapshot, ALargeSnapshotReadsBackEqual)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    const auto snapshot = manyItemsSnapshot();
    store.writeSnapshot(snapshot);
    ASSERT_GT(fs::file_size(temporary / "snapshot.json"), 4u * 1024 * 1024);
    EXPECT_EQ(store.readSnapshot(), snapshot);
}

// The reader has given back the bytes before a fault far into the document: it must still read as
// no snapshot, whatever the fault, and never as part of one.
TEST(SharedStoreSnapshot, AFaultFarIntoALargeSnapshotReadsAsEmpty)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    const std::string whole = encode(manyItemsSnapshot());
    const std::size_t lastItem = whole.rfind(R"({"id":"item-59999")");
    ASSERT_NE(lastItem, std::string::npos);
    ASSERT_GT(lastItem, 4u * 1024 * 1024);
    const std::vector<std::pair<std::string, std::string>> faults {
        { "an item without its title", std::string(whole).replace(whole.find(R"("title")", lastItem), 7, R"("titel")") },
        { "an item that is a number", std::string(whole).insert(lastItem, "0,") },
        { "a cut document", whole.substr(0, lastItem + 20) },
        { "a syntax error", std::string(whole).insert(lastItem, "}") },
        { "a bad member after the items", std::string(whole).insert(whole.size() - 1, R"(,"groups":[1])") },
    };
    for (const auto& [fault, bytes] : faults) {
        writeFile(temporary / "snapshot.json", bytes);
        EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty) << fault;
        EXPECT_THROW(decode<WidgetSnapshot>(bytes), DecodingError) << fault;
    }
}

TEST(SharedStoreSnapshot, WriteCreatesTheMissingRootWithItsParentsPrivately)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary / "a" / "b" / "container");
    store.writeSnapshot(sampleSnapshot());
    EXPECT_EQ(store.readSnapshot(), sampleSnapshot());
    EXPECT_EQ(permissions(temporary / "a"), 0700u);
    EXPECT_EQ(permissions(temporary / "a" / "b"), 0700u);
    EXPECT_EQ(permissions(store.root()), 0700u);
    EXPECT_EQ(permissions(store.root() / "snapshot.json"), 0600u);
    EXPECT_EQ(entriesOf(store.root()), std::vector<std::string> { "snapshot.json" });
}

TEST(SharedStoreSnapshot, WriteLeavesTheModeOfAnExistingRootAlone)
{
    TemporaryDirectory temporary;
    auto root = temporary / "container";
    fs::create_directory(root);
    ::chmod(root.c_str(), 0755);
    SharedStore(root).writeSnapshot(sampleSnapshot());
    EXPECT_EQ(permissions(root), 0755u);
    EXPECT_EQ(permissions(root / "snapshot.json"), 0600u);
}

TEST(SharedStoreSnapshot, WriteReplacesThePreviousSnapshotAndLeavesNoTemporaryFile)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    store.writeSnapshot(sampleSnapshot(aMoment));
    writeFile(temporary / "snapshot.json", "{\"old\":true, \"padding\": \"" + std::string(10000, 'x') + "\"}");
    ::chmod((temporary / "snapshot.json").c_str(), 0644);
    auto newer = sampleSnapshot(aMoment + 5);
    store.writeSnapshot(newer);
    EXPECT_EQ(readFile(temporary / "snapshot.json"), encode(newer));
    EXPECT_EQ(permissions(temporary / "snapshot.json"), 0600u);
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "snapshot.json" });
}

TEST(SharedStoreSnapshot, WriteIntoARootThatIsARegularFileThrowsAndChangesNothing)
{
    TemporaryDirectory temporary;
    writeFile(temporary / "container", "a file");
    try {
        SharedStore(temporary / "container").writeSnapshot(sampleSnapshot());
        FAIL() << "no error";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::not_a_directory) << error.what();
    }
    try {
        SharedStore(temporary / "container" / "below").writeSnapshot(sampleSnapshot());
        FAIL() << "no error";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::not_a_directory) << error.what();
    }
    EXPECT_EQ(readFile(temporary / "container"), "a file");
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "container" });
}

TEST(SharedStoreSnapshot, EncodingErrorIsThrownAndThePreviousSnapshotStays)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    store.writeSnapshot(sampleSnapshot());
    auto bad = sampleSnapshot(aMoment + 1);
    bad.items[0].title = "\xff\xfe not UTF-8";
    EXPECT_THROW(store.writeSnapshot(bad), EncodingError);
    EXPECT_EQ(store.readSnapshot(), sampleSnapshot());
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "snapshot.json" });
}

TEST(SharedStoreSnapshot, WriteFailingHalfwayLeavesThePreviousSnapshotWholeAndNoTemporaryFile)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    store.writeSnapshot(sampleSnapshot());
    const auto previous = readFile(temporary / "snapshot.json");

    auto large = sampleSnapshot(aMoment + 1);
    for (int i = 0; i < 2000; ++i)
        large.items.push_back(WidgetItem { "item-" + std::to_string(i), "Item", "node", false });
    ASSERT_GT(encode(large).size(), 65536u);

    // A file size limit below the new document makes write() fail with EFBIG after the temporary
    // file exists and part of the document is in it.
    int code = inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit {};
        ::getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = 65536;
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 3;
        try {
            store.writeSnapshot(large);
        } catch (const std::system_error& error) {
            return error.code() == std::errc::file_too_large ? 0 : 1;
        }
        return 2;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(readFile(temporary / "snapshot.json"), previous);
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "snapshot.json" });
}

TEST(SharedStoreSnapshot, WriteFailingAtTheReplacementLeavesNoTemporaryFile)
{
    TemporaryDirectory temporary;
    // A non-empty directory where the snapshot should go cannot be renamed over.
    fs::create_directories(temporary / "snapshot.json" / "inside");
    SharedStore store(temporary.path());
    EXPECT_THROW(store.writeSnapshot(sampleSnapshot()), std::system_error);
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "snapshot.json" });
    EXPECT_EQ(entriesOf(temporary / "snapshot.json"), std::vector<std::string> { "inside" });
}

TEST(SharedStoreSnapshot, WriteReplacesALinkInsteadOfWritingThroughIt)
{
    TemporaryDirectory temporary;
    fs::create_directory(temporary / "container");
    writeFile(temporary / "outside.json", "outside");
    fs::create_symlink(temporary / "outside.json", temporary / "container" / "snapshot.json");
    SharedStore store(temporary / "container");
    store.writeSnapshot(sampleSnapshot());
    EXPECT_FALSE(fs::is_symlink(temporary / "container" / "snapshot.json"));
    EXPECT_EQ(store.readSnapshot(), sampleSnapshot());
    EXPECT_EQ(readFile(temporary / "outside.json"), "outside");
}

TEST(SharedStoreSnapshot, ReadDoesNotFollowALink)
{
    TemporaryDirectory temporary;
    SharedStore outside(temporary / "outside");
    outside.writeSnapshot(sampleSnapshot());
    fs::create_directory(temporary / "container");
    fs::create_symlink(temporary / "outside" / "snapshot.json", temporary / "container" / "snapshot.json");
    EXPECT_EQ(SharedStore(temporary / "container").readSnapshot(), WidgetSnapshot::empty);
}

TEST(SharedStoreSnapshot, ReadOfAFifoOrADirectoryIsEmptyAndDoesNotHang)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    ASSERT_EQ(::mkfifo((temporary / "snapshot.json").c_str(), 0600), 0);
    EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
    fs::remove(temporary / "snapshot.json");
    fs::create_directory(temporary / "snapshot.json");
    EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
}

TEST(SharedStoreSnapshot, ReadAcceptsSixteenMebibytesAndNoMore)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    auto document = encode(sampleSnapshot());
    constexpr std::size_t cap = 16 * 1024 * 1024;
    // JSON allows white space after the document, so the size alone decides.
    writeFile(temporary / "snapshot.json", document + std::string(cap - document.size(), ' '));
    EXPECT_EQ(store.readSnapshot(), sampleSnapshot());
    writeFile(temporary / "snapshot.json", document + std::string(cap - document.size() + 1, ' '));
    EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
}

// Heartbeat and app status

TEST(SharedStoreHeartbeat, BeatWrittenAt10SecondsIsTheFourCharacters10Point0)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    store.touchHeartbeat(Date(10));
    EXPECT_EQ(readFile(temporary / "heartbeat"), "10.0");
    EXPECT_EQ(permissions(temporary / "heartbeat"), 0600u);
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "heartbeat" });
}

TEST(SharedStoreHeartbeat, BeatIsTheShortestFixedTextWithAFraction)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    for (auto [seconds, text] : { std::pair { 1'700'000'000.0, "1700000000.0" }, std::pair { 10.5, "10.5" },
             std::pair { 1'700'000'000.25, "1700000000.25" }, std::pair { 0.1, "0.1" }, std::pair { 0.0, "0.0" },
             std::pair { 1'732'300'000.123, "1732300000.123" } }) {
        store.touchHeartbeat(Date(seconds));
        EXPECT_EQ(readFile(temporary / "heartbeat"), text);
    }
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "heartbeat" });
}

TEST(SharedStoreHeartbeat, BeatIntoAMissingRootFailsSilentlyAndLeavesNothing)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary / "container");
    store.touchHeartbeat(Date(aMoment));
    EXPECT_FALSE(fs::exists(store.root()));
    EXPECT_TRUE(entriesOf(temporary.path()).empty());
    // A root that is a file fails silently too.
    writeFile(temporary / "container", "file");
    SharedStore(temporary / "container").touchHeartbeat(Date(aMoment));
    EXPECT_EQ(readFile(temporary / "container"), "file");
    EXPECT_EQ(entriesOf(temporary.path()), std::vector<std::string> { "container" });
}

TEST(SharedStoreHeartbeat, RunningUntilTheNinetiethSecond)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    store.touchHeartbeat(Date(aMoment));
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::running);
    EXPECT_EQ(store.appStatus(Date(aMoment + 89.9)), SharedStore::AppStatus::running);
    EXPECT_EQ(store.appStatus(Date(aMoment + 90)), SharedStore::AppStatus::notRunning);
    EXPECT_EQ(store.appStatus(Date(aMoment + 3600)), SharedStore::AppStatus::notRunning);
    EXPECT_EQ(SharedConstants::heartbeatTimeout, 90.0);
}

TEST(SharedStoreHeartbeat, BeatInTheFutureCountsAsRunning)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    store.touchHeartbeat(Date(aMoment + 60));
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::running);
    store.touchHeartbeat(Date(aMoment + 1e9));
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::running);
}

TEST(SharedStoreHeartbeat, LineEndAfterOrSpaceBeforeTheNumberMeansNotRunning)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    const Date now(aMoment + 1);
    writeFile(temporary / "heartbeat", "1700000000.0");
    ASSERT_EQ(store.appStatus(now), SharedStore::AppStatus::running);
    for (const char* text : { "1700000000.0\n", "1700000000.0\r\n", " 1700000000.0", "\t1700000000.0", "\n1700000000.0",
             "\v1700000000.0", "\f1700000000.0", "\r1700000000.0", "1700000000.0 ", "", "1700000000,0", "running",
             "\xef\xbb\xbf" "1700000000.0", "1700000000.0\xff", "\xff" }) {
        writeFile(temporary / "heartbeat", text);
        EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::notRunning) << '"' << text << '"';
    }
    writeFile(temporary / "heartbeat", std::string("1700000000.0\0", 13));
    EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::notRunning);
}

TEST(SharedStoreHeartbeat, NumbersAreReadWithTheWholeSyntaxOfStrtod)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    const Date now(aMoment);
    using Status = SharedStore::AppStatus;
    for (auto [text, status] : {
             std::pair { "1700000000", Status::running }, std::pair { "+1700000000", Status::running },
             std::pair { "1.7e9", Status::running }, std::pair { "0x1.954fc4p+30", Status::running },
             std::pair { "inf", Status::running }, std::pair { "INFINITY", Status::running },
             std::pair { "1e999", Status::running }, // overflows to infinity: forever in the future
             std::pair { "-inf", Status::notRunning }, std::pair { "nan", Status::notRunning },
             std::pair { "NaN", Status::notRunning }, std::pair { "1699999910", Status::notRunning },
             std::pair { "1699999910.000001", Status::running } }) {
        writeFile(temporary / "heartbeat", text);
        EXPECT_EQ(store.appStatus(now), status) << text;
    }
}

TEST(SharedStoreHeartbeat, HeartbeatWithoutReadPermissionMeansNoAccess)
{
    TemporaryDirectory temporary;
    // The containers are traversable by anyone; only the heartbeat file itself is closed.
    ASSERT_EQ(::chmod(temporary.path().c_str(), 0755), 0);
    SharedStore closed(temporary / "closed");
    SharedStore open(temporary / "open");
    for (const auto* store : { &closed, &open }) {
        fs::create_directory(store->root());
        ASSERT_EQ(::chmod(store->root().c_str(), 0755), 0);
        store->touchHeartbeat(Date(aMoment));
    }
    ASSERT_EQ(permissions(closed.root() / "heartbeat"), 0600u);
    ASSERT_EQ(::chmod((open.root() / "heartbeat").c_str(), 0644), 0);
    if (::geteuid() != 0) {
        ASSERT_EQ(::chmod((closed.root() / "heartbeat").c_str(), 0), 0);
    } else {
        // The reader's own containers (another user's would be refused outright), holding a
        // heartbeat that root wrote.
        for (const auto* store : { &closed, &open })
            ASSERT_EQ(::chown(store->root().c_str(), nobody, nobody), 0);
    }

    const Date now(aMoment + 1);
    // The same reader sees the readable heartbeat: the path is open to it, only the file is not.
    EXPECT_EQ(appStatusAsUnprivilegedReader(open, now), exitCodeFor(SharedStore::AppStatus::running));
    EXPECT_EQ(appStatusAsUnprivilegedReader(closed, now), exitCodeFor(SharedStore::AppStatus::noAccess));
}

TEST(SharedStoreHeartbeat, HeartbeatThatIsNoRegularFileMeansNotRunningWithoutHanging)
{
    TemporaryDirectory temporary;
    SharedStore outside(temporary / "outside");
    fs::create_directory(outside.root());
    outside.touchHeartbeat(Date(aMoment));
    SharedStore store(temporary / "container");
    fs::create_directory(store.root());
    const Date now(aMoment + 1);
    const auto heartbeat = store.root() / "heartbeat";

    fs::create_symlink(outside.root() / "heartbeat", heartbeat);
    EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::notRunning);
    fs::remove(heartbeat);
    ASSERT_EQ(::mkfifo(heartbeat.c_str(), 0600), 0);
    EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::notRunning);
    fs::remove(heartbeat);
    fs::create_directory(heartbeat);
    EXPECT_EQ(store.appStatus(now), SharedStore::AppStatus::notRunning);
}

TEST(SharedStoreHeartbeat, HeartbeatLargerThan64KiBMeansNotRunning)
{
    TemporaryDirectory temporary;
    SharedStore store(temporary.path());
    const std::string beat = "1700000000.0";
    writeFile(temporary / "heartbeat", std::string(64 * 1024 - beat.size(), '0') + beat);
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::running);
    writeFile(temporary / "heartbeat", std::string(64 * 1024 - beat.size() + 1, '0') + beat);
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::notRunning);
}

// Heartbeat text

TEST(HeartbeatText, FormatsFixedShortestWithAtLeastOneFractionDigit)
{
    EXPECT_EQ(detail::formatHeartbeat(10), "10.0");
    EXPECT_EQ(detail::formatHeartbeat(10.5), "10.5");
    EXPECT_EQ(detail::formatHeartbeat(1'700'000'000), "1700000000.0");
    EXPECT_EQ(detail::formatHeartbeat(0), "0.0");
    EXPECT_EQ(detail::formatHeartbeat(-1.5), "-1.5");
    EXPECT_EQ(detail::formatHeartbeat(0.1), "0.1");
    EXPECT_EQ(detail::formatHeartbeat(1e22), "10000000000000000000000.0");
    EXPECT_EQ(detail::formatHeartbeat(5e-7), "0.0000005");
    EXPECT_EQ(detail::formatHeartbeat(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(detail::formatHeartbeat(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(detail::formatHeartbeat(std::nan("")), "nan");
}

TEST(HeartbeatText, EveryFiniteValueReadsBackExactlyWithoutExponent)
{
    std::mt19937_64 random(20231114);
    std::vector<double> values = { std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest(),
        std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(), -0.0, 1732300000.1234567 };
    std::uniform_real_distribution<double> nearNow(0, 4e9);
    for (int i = 0; i < 2000; ++i) {
        values.push_back(nearNow(random));
        std::uint64_t bits = random();
        double any;
        std::memcpy(&any, &bits, sizeof any);
        if (std::isfinite(any))
            values.push_back(any);
    }
    for (double value : values) {
        auto text = detail::formatHeartbeat(value);
        ASSERT_NE(text.find('.'), std::string::npos) << text;
        ASSERT_EQ(text.find_first_of("eE"), std::string::npos) << text;
        ASSERT_NE(text.back(), '.') << text;
        auto back = detail::parseHeartbeat(text);
        ASSERT_TRUE(back) << text;
        ASSERT_EQ(std::memcmp(&*back, &value, sizeof value), 0) << text;
    }
}

TEST(HeartbeatText, ParsesTheSyntaxOfStrtodInTheCLocale)
{
    for (auto [text, value] : { std::pair { "10", 10.0 }, std::pair { "10.5", 10.5 }, std::pair { "+5", 5.0 },
             std::pair { "-5", -5.0 }, std::pair { ".5", 0.5 }, std::pair { "5.", 5.0 }, std::pair { "1e3", 1000.0 },
             std::pair { "1E-1", 0.1 }, std::pair { "0x10", 16.0 }, std::pair { "0x1p-2", 0.25 } }) {
        auto parsed = detail::parseHeartbeat(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(*parsed, value) << text;
    }
    EXPECT_EQ(detail::parseHeartbeat("inf"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(detail::parseHeartbeat("-Infinity"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(detail::parseHeartbeat("1e400"), std::numeric_limits<double>::infinity());
    for (const char* nan : { "nan", "NAN", "-nan", "nan(123)" }) {
        auto parsed = detail::parseHeartbeat(nan);
        ASSERT_TRUE(parsed) << nan;
        EXPECT_TRUE(std::isnan(*parsed)) << nan;
    }
}

TEST(HeartbeatText, RejectsAnythingButOneNumberFillingTheText)
{
    for (std::string_view text : { "", " 1", "\t1", "\n1", "\v1", "\f1", "\r1", "1\n", "1 ", "1x", "x", "1,5", ".", "e5",
             "--1", "0x", "infinit", "\xef\xbf\xbd", "1\xff", "\xc3\xa9", "\xff" "1" }) {
        EXPECT_FALSE(detail::parseHeartbeat(text)) << '"' << text << '"';
    }
    EXPECT_FALSE(detail::parseHeartbeat(std::string_view("1\0", 2)));
    EXPECT_FALSE(detail::parseHeartbeat(std::string_view("\0" "1", 2)));
}
