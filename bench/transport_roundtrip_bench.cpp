// The floor of every IPC figure: a request that does nothing, carried through the host's socket
// transport and its IPC thread pool and answered. The load generator and the service benchmarks
// state their figures as ratios to this one, measured in the same run.
//
//   build/release/bench/transport_roundtrip_bench
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

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

}  // namespace

BENCHMARK_MAIN();
