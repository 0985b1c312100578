// Loads and unloads of an ability under the real daemon: a request reaches the ability only once its
// library has finished loading and its OnStart has returned, never while it stops or its library
// goes; a request that comes meanwhile is answered by the next load; and the daemon's resident size
// does not grow from one reload to the next.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ipc_types.h"
#include "message_option.h"
#include "platform/transport/socket_remote_object.h"
#include "tests/e2e/echo_ability.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using namespace std::chrono_literals;

constexpr int CLIENTS = 16;
constexpr uint32_t SERVICE_ID = 65993;

struct LoadReport {
    int status = -1;
    int32_t outOfTurn = -1;
    int64_t loadMark = 0;
};

LoadReport AskLoadReport(const std::string& socketPath)
{
    OHOS::Host::Transport::SocketRemoteObject remote(socketPath, Echo::ABILITY_ID);
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    OHOS::MessageOption option;
    LoadReport report;
    report.status = remote.SendRequest(Echo::LOAD_REPORT, data, reply, option);
    if (report.status == OHOS::ERR_NONE && !(reply.ReadInt32(report.outOfTurn) && reply.ReadInt64(report.loadMark))) {
        report.status = OHOS::ERR_INVALID_DATA;
    }
    return report;
}

// The daemon's one ability; a default (no loads, not mapped) when the status cannot be read.
OHOS::Host::AbilityStatus AbilityStatusOf(const HostdHarness& hostd)
{
    const auto status = hostd.Status();
    return status && !status->abilities.empty() ? status->abilities[0] : OHOS::Host::AbilityStatus{};
}

uint32_t Unloads(const HostdHarness& hostd)
{
    return AbilityStatusOf(hostd).unloads;
}

// Polls (more often than WaitFor: a cycle takes a few milliseconds) until the daemon has unloaded
// the ability `count` times.
bool WaitForUnloads(const HostdHarness& hostd, uint32_t count)
{
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (Unloads(hostd) < count) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// VmRSS of `pid` in kB; 0 when it cannot be read.
long ResidentKb(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
}

// Sixteen requests at once; their load reports.
std::vector<LoadReport> SixteenRequests(const HostdHarness& hostd)
{
    std::vector<LoadReport> reports(CLIENTS);
    std::vector<std::thread> clients;
    for (LoadReport& report : reports) {
        clients.emplace_back([&hostd, &report] { report = AskLoadReport(hostd.SocketPath()); });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    return reports;
}

// The stand-in ability registers itself from one static initialiser, and the library's last
// initialiser, its OnStart after publishing and its OnStop each take 150 ms. Sixteen first requests
// of a fresh start, and sixteen more that come while the ability stops, must each be answered by a
// library whose initialisers have all run and whose OnStart has returned. The manager used to
// serve what OnStart had published while OnStart went on, and, once the stopped library was
// unloaded, requests waiting for it started the reloaded ability as soon as its registration woke
// them, while the library's other initialisers still ran.
TEST(AbilityReloadTest, FirstRequestsReachOnlyAWhollyLoadedAndStartedLibrary)
{
    HostdHarness hostd;
    hostd.SetUnloadDelay(200ms);
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    ASSERT_EQ(hostd.RunTool("param", {"set", Echo::LIFECYCLE_DELAY_PARAMETER, "150"}).exitCode, 0);

    auto check = [](const std::vector<LoadReport>& reports, const char* round) {
        std::set<int64_t> marks;
        for (const LoadReport& report : reports) {
            EXPECT_EQ(report.status, OHOS::ERR_NONE) << round;
            EXPECT_EQ(report.outOfTurn, 0) << round;
            marks.insert(report.loadMark);
        }
        EXPECT_EQ(marks.size(), 1U) << round;
        return *marks.begin();
    };
    const int64_t firstLoad = check(SixteenRequests(hostd), "fresh start");

    // Idle for its delay, the ability stops (slowly): the next requests come meanwhile.
    ASSERT_TRUE(WaitFor(
        [&hostd] {
            const auto status = AbilityStatusOf(hostd);
            return !status.running && status.libraryMapped;
        },
        5s));
    const int64_t secondLoad = check(SixteenRequests(hostd), "during the stop");
    EXPECT_NE(secondLoad, firstLoad);
    EXPECT_EQ(AbilityStatusOf(hostd).loads, 2U);
    EXPECT_EQ(AbilityStatusOf(hostd).unloads, 1U);
    EXPECT_EQ(hostd.Stop(), 0) << hostd.StartupOutput();
}

// Sixteen clients send in bursts with quiet gaps a little longer than the unload delay, and a few
// requests fall at the end of those gaps, so that requests keep arriving while the ability drains,
// idles, stops and its library is unloaded and loaded again. The ability's last initialiser, its
// start and its stop each take a millisecond. Every request must be answered, by a library that was
// whole and started.
TEST(AbilityReloadTest, HundredsOfReloadsUnderSixteenClientsLoseNoRequest)
{
    HostdHarness hostd;
    hostd.SetUnloadDelay(5ms);
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    ASSERT_EQ(hostd.RunTool("param", {"set", Echo::LIFECYCLE_DELAY_PARAMETER, "1"}).exitCode, 0);

    constexpr uint32_t TARGET_RELOADS = 200;
    constexpr auto TIME_LIMIT = 12s;
    constexpr auto PERIOD = 10ms;  // a burst of 2 ms, then quiet long enough for an unload
    constexpr auto BURST = 2ms;
    constexpr auto UNLOAD_DUE = BURST + 5ms;  // the idle timer fires from here on
    std::atomic<bool> done{false};
    std::atomic<long> answered{0};
    std::mutex failuresMutex;
    std::vector<std::string> failures;
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::thread> clients;
    for (int client = 0; client < CLIENTS; ++client) {
        clients.emplace_back([&, client] {
            std::minstd_rand random(static_cast<unsigned>(client) + 1);
            OHOS::Host::Transport::SocketRemoteObject remote(hostd.SocketPath(), Echo::ABILITY_ID);
            while (!done.load()) {
                const auto inPeriod = (std::chrono::steady_clock::now() - begin) % PERIOD;
                if (inPeriod >= BURST) {
                    // Quiet, but one client in sixteen sends once while the unload is under way.
                    const auto rest = PERIOD - inPeriod;
                    if (inPeriod >= UNLOAD_DUE || random() % CLIENTS != 0) {
                        std::this_thread::sleep_for(rest);
                        continue;
                    }
                    std::this_thread::sleep_for(UNLOAD_DUE - inPeriod + (PERIOD - UNLOAD_DUE) * (random() % 100) / 100);
                }
                OHOS::MessageParcel data;
                OHOS::MessageParcel reply;
                OHOS::MessageOption option;
                const int status = remote.SendRequest(Echo::LOAD_REPORT, data, reply, option);
                const int32_t outOfTurn = status == OHOS::ERR_NONE ? reply.ReadInt32() : -1;
                if (status != OHOS::ERR_NONE || outOfTurn != 0) {
                    std::lock_guard<std::mutex> lock(failuresMutex);
                    failures.push_back("client " + std::to_string(client) + ": status " + std::to_string(status) +
                                       ", out of turn " + std::to_string(outOfTurn));
                } else {
                    answered.fetch_add(1);
                }
                std::this_thread::sleep_for(500us);
            }
        });
    }
    uint32_t reloads = 0;
    while (reloads < TARGET_RELOADS && std::chrono::steady_clock::now() - begin < TIME_LIMIT && hostd.Running()) {
        std::this_thread::sleep_for(50ms);
        reloads = Unloads(hostd);
    }
    done.store(true);
    for (std::thread& client : clients) {
        client.join();
    }
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    std::printf("%u reloads, %ld requests answered, %zu failed, in %lld ms\n", reloads, answered.load(),
        failures.size(), static_cast<long long>(elapsed.count()));
    EXPECT_TRUE(failures.empty()) << failures.size() << " failed requests, the first: " << failures.front();
    EXPECT_GE(reloads, 200U) << "in " << elapsed.count() << " ms";
    EXPECT_GT(answered.load(), 1000);
    ASSERT_TRUE(hostd.Running()) << hostd.Log();
    EXPECT_EQ(AskLoadReport(hostd.SocketPath()).status, OHOS::ERR_NONE);
    // A clean stop; a sanitizer that found anything in the daemon makes it exit otherwise.
    EXPECT_EQ(hostd.Stop(), 0) << hostd.StartupOutput();
}

// The privacy service itself, unloaded after each dump and loaded again by the next: 200 cycles
// leave the daemon's resident size within 1 MiB of its size after the first. It used to grow by
// some 2 MB over the first twenty cycles, the library's freed memory spread over the allocator
// arenas of every IPC thread that happened to load it. Sanitizer builds have allocators of their
// own (ASan's quarantine keeps freed memory on purpose): there 40 cycles run and RSS is not judged.
TEST(AbilityReloadTest, TwoHundredReloadsOfTheServiceKeepTheDaemonsSize)
{
    HostdHarness hostd;
    hostd.SetAbilityLibrary(ASP_E2E_SERVICE_LIBRARY);
    hostd.SetUnloadDelay(5ms);
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    const int devNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(devNull, 0);
    OHOS::Host::Transport::SocketRemoteObject service(hostd.SocketPath(), SERVICE_ID);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr uint32_t CYCLES = 40;  // reloads of the real library checked by the sanitizer; RSS not judged
#else
    constexpr uint32_t CYCLES = 200;
#endif
    long afterFirst = 0;
    long afterLast = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (uint32_t cycle = 1; cycle <= CYCLES; ++cycle) {
        ASSERT_EQ(service.Dump(devNull, {u"record"}), 0) << "cycle " << cycle;
        ASSERT_TRUE(WaitForUnloads(hostd, cycle)) << "cycle " << cycle;
        (cycle == 1 ? afterFirst : afterLast) = ResidentKb(hostd.Pid());
    }
    close(devNull);
    EXPECT_EQ(hostd.Stop(), 0) << hostd.StartupOutput();
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    std::printf("RSS after the first cycle %ld kB, after %u cycles %ld kB, in %lld ms\n", afterFirst, CYCLES,
        afterLast, static_cast<long long>(elapsed.count()));
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "RSS is the sanitizer allocator's here";
#else
    ASSERT_GT(afterFirst, 0);
    EXPECT_LT(afterLast - afterFirst, 1024);
#endif
}

}  // namespace
}  // namespace AspTest
