// SPDX-License-Identifier: MIT
#include <quelm/Notification.h>
#include <quelm/NotificationObserver.h>

#include "SessionBus.h"
#include "ChildProcess.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::BusProbe;
using quelm::test::DeliveryCounter;
using quelm::test::Fence;
using quelm::test::uniqueNotificationName;

namespace {

// Sends this process's standard output and error to a file until destruction.
class CapturedOutput {
public:
    explicit CapturedOutput(const std::filesystem::path& file)
        : m_file(file)
    {
        std::fflush(stdout);
        std::fflush(stderr);
        const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd < 0)
            throw std::runtime_error("cannot open " + file.string());
        m_savedOut = ::dup(STDOUT_FILENO);
        m_savedErr = ::dup(STDERR_FILENO);
        ::dup2(fd, STDOUT_FILENO);
        ::dup2(fd, STDERR_FILENO);
        ::close(fd);
    }
    ~CapturedOutput()
    {
        std::fflush(stdout);
        std::fflush(stderr);
        ::dup2(m_savedOut, STDOUT_FILENO);
        ::dup2(m_savedErr, STDERR_FILENO);
        ::close(m_savedOut);
        ::close(m_savedErr);
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

private:
    std::filesystem::path m_file;
    int m_savedOut = -1;
    int m_savedErr = -1;
};

}

TEST(NotificationTests, PostingANameNobodyObservesDoesNothingAndDoesNotFail)
{
    EXPECT_NO_THROW(Notification::post(uniqueNotificationName("unobserved")));
    EXPECT_NO_THROW(Notification::post(""));
    EXPECT_NO_THROW(Notification::post(std::string("with\0nul", 8)));
    EXPECT_NO_THROW(Notification::post("not utf-8 \xff\xfe"));

    // The process can still post and be heard afterwards.
    Fence fence;
    EXPECT_TRUE(fence.pass());
}

TEST(NotificationTests, PostIsTheBroadcastSignalPostedWithTheNameOnTheNotificationObject)
{
    BusProbe probe;
    ASSERT_TRUE(probe.connected());
    const auto name = uniqueNotificationName("wire");
    const auto fence = uniqueNotificationName("wire-fence");

    Notification::post(name);
    Notification::post(fence);

    const auto signals = probe.signalsBefore(fence);
    ASSERT_TRUE(signals.has_value());
    std::vector<BusProbe::Signal> ours;
    for (const auto& signal : *signals) {
        if (signal.name == name)
            ours.push_back(signal);
    }
    ASSERT_EQ(ours.size(), 1u);
    EXPECT_EQ(ours[0].path, "/dev/quelm/Notification");
    EXPECT_EQ(ours[0].interface, "dev.quelm.Notification1");
    EXPECT_EQ(ours[0].member, "Posted");
}

TEST(NotificationTests, ObserverIsCalledOncePerPost)
{
    const auto name = uniqueNotificationName("once");
    DeliveryCounter deliveries;
    NotificationObserver observer(name, [&] { deliveries(); });
    EXPECT_EQ(observer.name(), name);

    Notification::post(name);
    ASSERT_TRUE(deliveries.waitFor(1));
    Notification::post(name);
    Notification::post(name);
    ASSERT_TRUE(deliveries.waitFor(3));

    Fence fence;
    ASSERT_TRUE(fence.pass());
    EXPECT_EQ(deliveries.count(), 3);
}

TEST(NotificationTests, APostRightAfterConstructionIsDelivered)
{
    const auto name = uniqueNotificationName("immediate");
    for (int round = 0; round < 25; ++round) {
        DeliveryCounter deliveries;
        NotificationObserver observer(name, [&] { deliveries(); });
        Notification::post(name);
        ASSERT_TRUE(deliveries.waitFor(1)) << "round " << round;
    }
}

TEST(NotificationTests, HandlerRunsOnTheObserversOwnThread)
{
    const auto name = uniqueNotificationName("thread");
    std::promise<std::thread::id> handlerThread;
    auto delivered = handlerThread.get_future();
    NotificationObserver observer(name, [&] {
        try {
            handlerThread.set_value(std::this_thread::get_id());
        } catch (const std::future_error&) {
            // Only the first delivery is of interest.
        }
    });

    Notification::post(name);
    ASSERT_EQ(delivered.wait_for(test::deliveryDeadline), std::future_status::ready);
    EXPECT_NE(delivered.get(), std::this_thread::get_id());
}

TEST(NotificationTests, TwoObserversOfOneNameBothGetEachDelivery)
{
    const auto name = uniqueNotificationName("shared");
    DeliveryCounter first;
    DeliveryCounter second;
    NotificationObserver firstObserver(name, [&] { first(); });
    NotificationObserver secondObserver(name, [&] { second(); });

    Notification::post(name);
    Notification::post(name);

    EXPECT_TRUE(first.waitFor(2));
    EXPECT_TRUE(second.waitFor(2));
    Fence fence;
    ASSERT_TRUE(fence.pass());
    EXPECT_EQ(first.count(), 2);
    EXPECT_EQ(second.count(), 2);
}

TEST(NotificationTests, ObserverIsNotCalledWhenAnotherNameIsPosted)
{
    const auto name = uniqueNotificationName("exact");
    DeliveryCounter deliveries;
    NotificationObserver observer(name, [&] { deliveries(); });
    Fence fence;

    Notification::post(name.substr(0, name.size() - 1)); // a prefix of the observed name
    Notification::post(name + ".longer"); // the observed name is a prefix of this one
    Notification::post(name + "*");
    Notification::post(uniqueNotificationName("exact"));
    ASSERT_TRUE(fence.pass());

    EXPECT_EQ(deliveries.count(), 0);
}

TEST(NotificationTests, NamesWithQuotesBackslashesAndSeparatorsAreMatchedExactly)
{
    const auto base = uniqueNotificationName("quoting");
    const std::vector<std::string> names {
        base + "'",
        base + "\\",
        base + "\\'",
        base + "'\\''",
        base + "',arg0='",
        base + ",member='Other'",
        base + " spaced = value",
        base + ".çãõ-✓",
        std::string(2000, 'n') + base, // too long for a match rule of the bus daemon
        std::string(2000, 'n') + base + "x",
    };
    std::vector<std::unique_ptr<DeliveryCounter>> counters;
    std::vector<std::unique_ptr<NotificationObserver>> observers;
    for (const auto& name : names) {
        counters.push_back(std::make_unique<DeliveryCounter>());
        observers.push_back(std::make_unique<NotificationObserver>(name, [counter = counters.back().get()] { (*counter)(); }));
    }
    DeliveryCounter plain;
    NotificationObserver plainObserver(base, [&] { plain(); });

    for (const auto& name : names)
        Notification::post(name);
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_TRUE(counters[i]->waitFor(1)) << "name #" << i;
    Fence fence;
    ASSERT_TRUE(fence.pass());

    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(counters[i]->count(), 1) << "name #" << i;
    EXPECT_EQ(plain.count(), 0);
}

TEST(NotificationTests, APostAfterTheObserverIsDestroyedDoesNotReachItsHandler)
{
    const auto name = uniqueNotificationName("destroyed");
    auto deliveries = std::make_shared<DeliveryCounter>();
    auto observer = std::make_unique<NotificationObserver>(name, [deliveries] { (*deliveries)(); });
    Notification::post(name);
    ASSERT_TRUE(deliveries->waitFor(1));

    observer.reset();
    Notification::post(name);
    Notification::post(name);
    Fence fence;
    ASSERT_TRUE(fence.pass());

    EXPECT_EQ(deliveries->count(), 1);
}

TEST(NotificationTests, DestroyingOneObserverLeavesTheOtherOfTheSameName)
{
    const auto name = uniqueNotificationName("independent");
    DeliveryCounter kept;
    DeliveryCounter dropped;
    NotificationObserver keptObserver(name, [&] { kept(); });
    {
        NotificationObserver droppedObserver(name, [&] { dropped(); });
    }

    Notification::post(name);
    EXPECT_TRUE(kept.waitFor(1));
    Fence fence;
    ASSERT_TRUE(fence.pass());
    EXPECT_EQ(dropped.count(), 0);
}

TEST(NotificationTests, AHandlerThatThrowsDoesNotEndTheDeliveries)
{
    const auto name = uniqueNotificationName("throwing");
    DeliveryCounter deliveries;
    NotificationObserver observer(name, [&] {
        deliveries();
        throw std::runtime_error("handler failure");
    });

    Notification::post(name);
    Notification::post(name);
    EXPECT_TRUE(deliveries.waitFor(2));
}

TEST(NotificationTests, AnObserverWithoutHandlerIsHarmless)
{
    const auto name = uniqueNotificationName("no-handler");
    NotificationObserver observer(name, nullptr);
    Notification::post(name);
    Fence fence;
    EXPECT_TRUE(fence.pass());
}

TEST(NotificationTests, PostsFromManyThreadsAreAllDelivered)
{
    const auto name = uniqueNotificationName("threads");
    DeliveryCounter deliveries;
    NotificationObserver observer(name, [&] { deliveries(); });

    constexpr int threads = 4;
    constexpr int postsPerThread = 250;
    std::vector<std::thread> posters;
    for (int t = 0; t < threads; ++t) {
        posters.emplace_back([&] {
            for (int i = 0; i < postsPerThread; ++i)
                Notification::post(name);
        });
    }
    for (auto& poster : posters)
        poster.join();

    EXPECT_TRUE(deliveries.waitFor(threads * postsPerThread));
    Fence fence;
    ASSERT_TRUE(fence.pass());
    EXPECT_EQ(deliveries.count(), threads * postsPerThread);
}

TEST(NotificationTests, APostInAnotherProcessReachesTheObserver)
{
    const auto name = uniqueNotificationName("cross-process");
    DeliveryCounter deliveries;
    NotificationObserver observer(name, [&] { deliveries(); });
    // This process has a connection for posting already; the child must not reuse it.
    Fence fence;
    ASSERT_TRUE(fence.pass());

    const int status = test::exitStatusOfChild([&] {
        Notification::post(name);
        return 0;
    });
    ASSERT_EQ(status, 0);
    EXPECT_TRUE(deliveries.waitFor(1));

    // And the parent's own connection still works after the fork.
    Notification::post(name);
    EXPECT_TRUE(deliveries.waitFor(2));
}

TEST(NotificationTests, WithoutASessionBusPostAndObserverAreSilentNoOps)
{
    const auto name = uniqueNotificationName("no-bus");
    test::TemporaryDirectory temporary;
    const auto runtimeDirectory = temporary / "runtime";
    std::filesystem::create_directory(runtimeDirectory);
    DeliveryCounter deliveries;
    std::unique_ptr<NotificationObserver> observer;
    {
        test::ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/quelm-test-bus");
        test::ScopedEnvironment runtime("XDG_RUNTIME_DIR", runtimeDirectory.string());
        CapturedOutput output(temporary / "output");
        EXPECT_NO_THROW(Notification::post(name));
        EXPECT_NO_THROW(observer = std::make_unique<NotificationObserver>(name, [&] { deliveries(); }));
        EXPECT_NO_THROW(Notification::post(name));
        {
            test::ScopedEnvironment noAddress("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
            EXPECT_NO_THROW(Notification::post(name));
            EXPECT_NO_THROW(NotificationObserver(name, [&] { deliveries(); }));
            test::ScopedEnvironment noRuntime("XDG_RUNTIME_DIR", std::nullopt);
            EXPECT_NO_THROW(Notification::post(name));
            EXPECT_NO_THROW(NotificationObserver(name, [&] { deliveries(); }));
        }
    }
    EXPECT_EQ(test::readFile(temporary / "output"), "");
    EXPECT_TRUE(std::filesystem::is_empty(runtimeDirectory));

    // Back on the real bus: the observer made without one stays deaf, and posting works again.
    DeliveryCounter live;
    NotificationObserver liveObserver(name, [&] { live(); });
    Notification::post(name);
    EXPECT_TRUE(live.waitFor(1));
    Fence fence;
    ASSERT_TRUE(fence.pass());
    EXPECT_EQ(deliveries.count(), 0);
    EXPECT_NO_THROW(observer.reset());
}

TEST(NotificationTests, WithoutASessionBusAFreshProcessPostsNothingAndPrintsNothing)
{
    test::TemporaryDirectory temporary;
    const auto output = temporary / "output";
    const auto runtimeDirectory = temporary / "runtime";
    std::filesystem::create_directory(runtimeDirectory);
    const int status = test::exitStatusOfChild([&] {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/quelm-test-bus", 1);
        ::setenv("XDG_RUNTIME_DIR", runtimeDirectory.c_str(), 1);
        const int fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(fd, STDOUT_FILENO);
        ::dup2(fd, STDERR_FILENO);
        try {
            std::atomic<int> deliveries { 0 };
            {
                NotificationObserver observer("dev.quelm.test.no-bus", [&] { ++deliveries; });
                for (int i = 0; i < 3; ++i)
                    Notification::post("dev.quelm.test.no-bus");
            }
            return deliveries == 0 ? 0 : 2;
        } catch (...) {
            return 3;
        }
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(test::readFile(output), "");
}

TEST(NotificationTests, WhenTheBusGoesAwayObserversIdleAndPostingMovesToTheNextBus)
{
    const auto name = uniqueNotificationName("bus-restart");
    auto cpuTime = [] {
        timespec spent {};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
        return std::chrono::seconds(spent.tv_sec) + std::chrono::nanoseconds(spent.tv_nsec);
    };
    auto firstBus = std::make_unique<test::DedicatedSessionBus>();
    DeliveryCounter deliveries;
    std::unique_ptr<NotificationObserver> observer;
    {
        test::ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", firstBus->address());
        observer = std::make_unique<NotificationObserver>(name, [&] { deliveries(); });
        Notification::post(name);
        ASSERT_TRUE(deliveries.waitFor(1));

        firstBus.reset();
        EXPECT_NO_THROW(Notification::post(name));
        EXPECT_NO_THROW(Notification::post(name));
    }

    // Neither an idle observer nor one whose bus has gone may spin.
    const auto before = cpuTime();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LT(cpuTime() - before, std::chrono::milliseconds(100));
    EXPECT_EQ(deliveries.count(), 1);
    EXPECT_NO_THROW(observer.reset());

    test::DedicatedSessionBus secondBus;
    test::ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", secondBus.address());
    DeliveryCounter again;
    NotificationObserver renewed(name, [&] { again(); });
    Notification::post(name);
    EXPECT_TRUE(again.waitFor(1));
}

TEST(NotificationTests, DestroyingObserversWhilePostsRaceNeverCallsADestroyedHandler)
{
    const auto name = uniqueNotificationName("race");
    std::atomic<bool> stop { false };
    std::vector<std::thread> posters;
    for (int t = 0; t < 3; ++t) {
        posters.emplace_back([&] {
            while (!stop.load()) {
                Notification::post(name);
                std::this_thread::yield();
            }
        });
    }

    struct Target {
        DeliveryCounter deliveries;
        std::atomic<bool> observerGone { false };
    };
    std::atomic<int> lateCalls { 0 };
    for (int round = 0; round < 40; ++round) {
        // The handler touches `target`, which is freed right after the observer: a call after the
        // destructor returned would be a use after free (and is counted besides).
        auto target = std::make_unique<Target>();
        {
            NotificationObserver observer(name, [t = target.get(), &lateCalls] {
                if (t->observerGone.load())
                    ++lateCalls;
                t->deliveries();
            });
            EXPECT_TRUE(target->deliveries.waitFor(1 + round % 3)) << "round " << round;
        }
        target->observerGone = true;
        target.reset();
    }

    stop = true;
    for (auto& poster : posters)
        poster.join();
    EXPECT_EQ(lateCalls.load(), 0);
}

// A consumer that must listen again after the bus daemon restarted needs to know that it stopped.
TEST(NotificationObserverConnection, ListensWhileItsBusIsThereAndSaysWhenItWentAway)
{
    std::optional<test::DedicatedSessionBus> bus(std::in_place);
    {
        const test::ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus->address());
        const NotificationObserver observer(uniqueNotificationName("listening"), [] {});
        EXPECT_TRUE(observer.isListening());
        bus.reset();
        bool stopped = false;
        for (auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60); !stopped && std::chrono::steady_clock::now() < end;
             std::this_thread::sleep_for(std::chrono::milliseconds(10)))
            stopped = !observer.isListening();
        EXPECT_TRUE(stopped) << "the observer still says it listens to a bus that is gone";
    }
    const test::ScopedEnvironment nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/quelm-test-bus");
    const NotificationObserver without(uniqueNotificationName("listening"), [] {});
    EXPECT_FALSE(without.isListening());
}
