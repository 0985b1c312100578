// A request that does nothing, carried through the host's socket transport and its IPC thread pool
// and answered, against the physical floor of any such request: a plain AF_UNIX stream ping-pong of
// a few bytes between two threads (one write and one read each way), measured in the same run.
//
//   build/release/bench/transport_roundtrip_bench
//   taskset -c 0 build/release/bench/transport_roundtrip_bench   (one CPU: no core to spin on)
//
// After the table the program prints the transport's no-op as a multiple of the ping-pong.
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include "platform/transport/socket_client.h"
#include "platform/transport/socket_server.h"

namespace {

using namespace OHOS::Host::Transport;

constexpr uint32_t ABILITY = 65993;
constexpr uint32_t NOOP_CODE = 1;
constexpr uint32_t ECHO_CODE = 2;

ReplyFrame Serve(const PeerCredentials& /*caller*/, const RequestFrame& request)
{
    ReplyFrame reply;
    if (request.code == ECHO_CODE) {
        reply.payload = request.payload;
    }
    return reply;
}

// The daemon's transport with its default pool of 16 threads, on a socket in a fresh directory,
// started by the first benchmark that needs it and stopped at exit.
class BenchServer {
public:
    static BenchServer& Get()
    {
        static BenchServer server;
        return server;
    }
    const std::string& Path() const { return path_; }

private:
    BenchServer() : dir_(MakeDir()), path_(dir_ + "/ipc.sock"), server_(path_, Serve)
    {
        if (dir_.empty() || server_.Start() != TransportError::OK) {
            path_.clear();  // every benchmark then reports that it cannot connect
        }
    }
    ~BenchServer()
    {
        server_.Stop();
        if (!dir_.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(dir_, ignored);
        }
    }

    static std::string MakeDir()
    {
        char pattern[] = "/tmp/asp_transport_bench_XXXXXX";
        return mkdtemp(pattern) != nullptr ? pattern : "";
    }

    std::string dir_;
    std::string path_;
    SocketServer server_;
};

// Each benchmark thread has its own connection, as each client process of the daemon has.
std::unique_ptr<SocketClient> ConnectOrSkip(benchmark::State& state)
{
    TransportError error = TransportError::OK;
    auto client = SocketClient::Connect(BenchServer::Get().Path(), &error);
    if (client == nullptr) {
        state.SkipWithError(TransportErrorName(error));
    }
    return client;
}

void RoundTrip(benchmark::State& state, SocketClient& client, const RequestFrame& request)
{
    ReplyFrame reply;
    for (auto _ : state) {
        if (client.Transact(request, reply) != TransportError::OK) {
            state.SkipWithError("request failed");
            break;
        }
        benchmark::DoNotOptimize(reply.payload.data());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_NoopRoundTrip(benchmark::State& state)
{
    auto client = ConnectOrSkip(state);
    if (client == nullptr) {
        return;
    }
    RequestFrame request;
    request.abilityId = ABILITY;
    request.code = NOOP_CODE;
    RoundTrip(state, *client, request);
}
BENCHMARK(BM_NoopRoundTrip)->ThreadRange(1, 16)->UseRealTime();

// The same round trip carrying a payload each way, for the cost per byte of a large parcel.
void BM_EchoRoundTrip(benchmark::State& state)
{
    auto client = ConnectOrSkip(state);
    if (client == nullptr) {
        return;
    }
    RequestFrame request;
    request.abilityId = ABILITY;
    request.code = ECHO_CODE;
    request.payload.assign(static_cast<size_t>(state.range(0)), 0x5A);
    RoundTrip(state, *client, request);
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(BM_EchoRoundTrip)->RangeMultiplier(16)->Range(64, 1 << 20)->UseRealTime();

// The physical floor: 16 bytes sent to a thread that sends them back, over a connected AF_UNIX
// stream pair. One write and one read on each side per round trip; nothing is parsed.
void BM_PhysicalPingPong(benchmark::State& state)
{
    int fds[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
        state.SkipWithError("no socket pair");
        return;
    }
    constexpr size_t BYTES = 16;
    std::thread echo([fd = fds[1]] {
        char buffer[BYTES];
        for (;;) {
            ssize_t got = read(fd, buffer, sizeof(buffer));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0 || write(fd, buffer, static_cast<size_t>(got)) != got) {
                return;
            }
        }
    });
    char buffer[BYTES] = "ping";
    for (auto _ : state) {
        size_t received = 0;
        if (write(fds[0], buffer, BYTES) != static_cast<ssize_t>(BYTES)) {
            state.SkipWithError("write failed");
            break;
        }
        while (received < BYTES) {
            const ssize_t got = read(fds[0], buffer + received, BYTES - received);
            if (got <= 0 && errno != EINTR) {
                state.SkipWithError("read failed");
                break;
            }
            received += got > 0 ? static_cast<size_t>(got) : 0;
        }
    }
    shutdown(fds[0], SHUT_RDWR);
    echo.join();
    close(fds[0]);
    close(fds[1]);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PhysicalPingPong)->UseRealTime();

// Shows the table as usual and remembers each benchmark's wall time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                times_[run.benchmark_name()] = run.GetAdjustedRealTime();
            }
        }
    }

    void PrintRatio(const std::string& name, const std::string& floor) const
    {
        auto measured = times_.find(name);
        auto base = times_.find(floor);
        if (measured == times_.end() || base == times_.end() || base->second <= 0) {
            return;
        }
        std::printf("%-42s %8.2f x %s\n", name.c_str(), measured->second / base->second, floor.c_str());
    }

private:
    std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nWall time per round trip as a multiple of the physical ping-pong, same run:\n");
    reporter.PrintRatio("BM_NoopRoundTrip/real_time/threads:1", "BM_PhysicalPingPong/real_time");
    reporter.PrintRatio("BM_EchoRoundTrip/64/real_time", "BM_PhysicalPingPong/real_time");
    benchmark::Shutdown();
    return 0;
}
