// SPDX-License-Identifier: MIT
// Latency of a notification from post() in one process to the handler in another, over the
// session bus: the path a tap takes from the widget to the app.
//
// The parent posts a ping and waits; the child's observer stamps the delivery and answers with a
// pong, so each measurement starts on an idle bus. Both stamps come from CLOCK_MONOTONIC, which
// all processes share. Without a session bus the program runs itself again under dbus-run-session.
//
//   NotificationBench [POSTS]   (default 2000, at least 1000, after 100 warm-up posts)

#include <quelm/Notification.h>
#include <quelm/NotificationObserver.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <numeric>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

using namespace quelm;

namespace {

constexpr int warmUpPosts = 100;
constexpr double targetMedianMicroseconds = 200;
constexpr double targetP99Microseconds = 1000;

std::int64_t nowNanoseconds()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// Percentile by the nearest-rank method, in microseconds, of durations in nanoseconds.
double percentile(std::vector<std::int64_t> sorted, double fraction)
{
    std::size_t rank = std::size_t(fraction * double(sorted.size()) + 0.999999);
    rank = std::clamp<std::size_t>(rank, 1, sorted.size());
    return double(sorted[rank - 1]) / 1000.0;
}

void report(const char* what, std::vector<std::int64_t> durations)
{
    std::sort(durations.begin(), durations.end());
    const double mean = double(std::accumulate(durations.begin(), durations.end(), std::int64_t(0))) / double(durations.size()) / 1000.0;
    std::printf("%-24s p50 %8.1f us   p90 %8.1f us   p99 %8.1f us   max %8.1f us   mean %8.1f us\n", what,
        percentile(durations, 0.50), percentile(durations, 0.90), percentile(durations, 0.99),
        double(durations.back()) / 1000.0, mean);
}

// Counts pongs and lets the poster wait for the next one.
struct Pongs {
    std::mutex mutex;
    std::condition_variable arrived;
    int count = 0;

    void operator()()
    {
        {
            std::lock_guard lock(mutex);
            ++count;
        }
        arrived.notify_one();
    }

    bool waitFor(int expected)
    {
        std::unique_lock lock(mutex);
        return arrived.wait_for(lock, std::chrono::seconds(5), [&] { return count >= expected; });
    }
};

// The child: stamps each ping into the shared array and answers it; ends when the parent closes
// the pipe.
[[noreturn]] void runResponder(const std::string& ping, const std::string& pong, std::int64_t* receivedAt, int total,
    int readyFd, int doneFd)
{
    int received = 0;
    {
        NotificationObserver observer(ping, [&] {
            if (received < total)
                receivedAt[received++] = nowNanoseconds();
            Notification::post(pong);
        });
        const char ready = 'r';
        if (::write(readyFd, &ready, 1) != 1)
            ::_exit(2);
        char ignored;
        while (::read(doneFd, &ignored, 1) > 0) {
        }
    }
    ::_exit(0);
}

}

int main(int argc, char** argv)
{
    if (!std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
        std::vector<char*> arguments { const_cast<char*>("dbus-run-session"), const_cast<char*>("--"), argv[0] };
        for (int i = 1; i < argc; ++i)
            arguments.push_back(argv[i]);
        arguments.push_back(nullptr);
        ::execvp(arguments[0], arguments.data());
        std::perror("NotificationBench: no session bus, and dbus-run-session cannot start one");
        return 1;
    }

    const int measured = argc > 1 ? std::max(1000, std::atoi(argv[1])) : 2000;
    const int total = warmUpPosts + measured;

    auto* receivedAt = static_cast<std::int64_t*>(
        ::mmap(nullptr, sizeof(std::int64_t) * std::size_t(total), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (receivedAt == MAP_FAILED) {
        std::perror("mmap");
        return 1;
    }
    const std::string suffix = std::to_string(::getpid());
    const std::string ping = "dev.quelm.bench.ping." + suffix;
    const std::string pong = "dev.quelm.bench.pong." + suffix;

    int ready[2];
    int done[2];
    if (::pipe(ready) != 0 || ::pipe(done) != 0) {
        std::perror("pipe");
        return 1;
    }
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child < 0) {
        std::perror("fork");
        return 1;
    }
    if (child == 0) {
        ::close(ready[0]);
        ::close(done[1]);
        runResponder(ping, pong, receivedAt, total, ready[1], done[0]);
    }
    ::close(ready[1]);
    ::close(done[0]);

    Pongs pongs;
    NotificationObserver observer(pong, [&] { pongs(); });
    char byte;
    if (::read(ready[0], &byte, 1) != 1) {
        std::fprintf(stderr, "NotificationBench: the observing process did not start\n");
        return 1;
    }

    std::vector<std::int64_t> sentAt(static_cast<std::size_t>(total));
    std::vector<std::int64_t> postCall(static_cast<std::size_t>(total));
    for (int i = 0; i < total; ++i) {
        sentAt[std::size_t(i)] = nowNanoseconds();
        Notification::post(ping);
        postCall[std::size_t(i)] = nowNanoseconds() - sentAt[std::size_t(i)];
        if (!pongs.waitFor(i + 1)) {
            std::fprintf(stderr, "NotificationBench: post %d was not answered within 5 s\n", i);
            ::kill(child, SIGTERM);
            return 1;
        }
    }
    ::close(done[1]);
    int status = 0;
    ::waitpid(child, &status, 0);

    std::vector<std::int64_t> latency;
    std::vector<std::int64_t> postOnly;
    for (int i = warmUpPosts; i < total; ++i) {
        latency.push_back(receivedAt[i] - sentAt[std::size_t(i)]);
        postOnly.push_back(postCall[std::size_t(i)]);
    }

    std::printf("NotificationBench: %d posts across two processes (after %d warm-up posts)\n", measured, warmUpPosts);
    report("post -> handler", latency);
    report("post() call", postOnly);
    std::sort(latency.begin(), latency.end());
    const double median = percentile(latency, 0.50);
    const double p99 = percentile(latency, 0.99);
    const bool met = median <= targetMedianMicroseconds && p99 <= targetP99Microseconds;
    std::printf("target p50 <= %.0f us, p99 <= %.0f us: %s\n", targetMedianMicroseconds, targetP99Microseconds, met ? "met" : "MISSED");
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}
