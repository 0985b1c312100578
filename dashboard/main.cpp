// asp_dashboard: the privacy dashboard in a browser, a local web server that speaks to asp_hostd
// as the privacy-settings app, exactly as `aspctl --as` does.
//   asp_dashboard [--as BUNDLE] [--user U] [--port P] [--web-root DIR] [--socket PATH | --data-root DIR]
// It must start as root to take the app's uid; it then runs as that uid alone, for good, and prints
// the one URL (with its session token) that opens it.

#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <climits>
#include <cstdio>
#include <string>
#include <thread>

#include "dashboard/dashboard_server.h"
#include "dashboard/privacy_api.h"
#include "dashboard/request_guard.h"
#include "dashboard/web_assets.h"
#include "tools/app_identity.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Dashboard;

// Where the build and `cmake --install` put the pages: share/asp/dashboard beside bin/.
std::string DefaultWebRoot()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0) {
        return "share/asp/dashboard";
    }
    std::string executable(path, static_cast<size_t>(length));
    return executable.substr(0, executable.rfind('/')) + "/../share/asp/dashboard";
}

// After the switch to the app's uid: no way back to root, and nothing this process runs may gain
// privileges either.
bool SealPrivileges(std::string& message)
{
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        message = "cannot set no_new_privs";
        return false;
    }
    if (setuid(0) == 0 || geteuid() == 0 || getegid() == 0) {
        message = "root privileges survived the switch to the app's uid";
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace OHOS::Host::Tools;
    ToolContext context("asp_dashboard");
    CLI::App app{
        "asp_dashboard: the privacy dashboard in a browser. A local web server that asks asp_hostd's privacy "
        "service what a privacy-settings app may ask (apps and their permission groups, state changes, usage "
        "over time, GToken policies), speaking as that app. Run it as root: it takes the app's uid and keeps "
        "nothing else. It prints the URL to open, whose session token every request must carry."};
    app.footer(ExitCodesHelp());
    context.AddOptions(app);
    std::string asBundle = "com.ohos.permissionmanager";
    int32_t userId = 100;
    uint16_t port = 0;
    std::string webRoot = DefaultWebRoot();
    app.add_option("--as", asBundle, "the privacy-settings app to speak as")->capture_default_str();
    app.add_option("--user", userId, "the user whose apps the pages show first")
        ->capture_default_str()
        ->check(CLI::Range(0, 10737));
    app.add_option("--port", port, "the loopback port to listen on (0: any free port)")->capture_default_str();
    app.add_option("--web-root", webRoot, "the pages and their libraries (default: share/asp/dashboard beside bin/)");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    context.Resolve();

    // Read while this process may still read the tree they lie in.
    std::string error;
    const auto assets = WebAssets::Load(webRoot, error);
    if (!assets) {
        return context.Fail(EXIT_FAILED, error + " (give --web-root)");
    }
    const auto token = RequestGuard::NewToken();
    if (!token) {
        return context.Fail(EXIT_FAILED, "the kernel gave no random bytes for the session token");
    }
    CallerFacts caller;
    if (const int failed = AppIdentity::SwitchTo(context, asBundle, userId, caller)) {
        return failed;
    }
    if (!SealPrivileges(error)) {
        return context.Fail(EXIT_FAILED, error);
    }

    // SIGINT and SIGTERM stop the server from a thread of their own; every other thread, the
    // server's among them, inherits them blocked.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    const PrivacyApi api(context, caller);
    DashboardServer server(api, *assets, *token, userId);
    if (!server.Bind(port, error)) {
        return context.Fail(EXIT_FAILED, error);
    }
    std::printf("asp_dashboard: open %s\n", server.Url().c_str());
    std::printf("asp_dashboard: speaking as %s; Ctrl-C stops it\n", caller.Text().c_str());
    std::fflush(stdout);

    std::thread stopper([&server, &stopSignals] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        server.Stop();
    });
    const bool served = server.Serve();
    if (!served) {
        // The stopper still waits: wake it so that it can be joined.
        kill(getpid(), SIGTERM);
    }
    stopper.join();
    return served ? EXIT_OK : context.Fail(EXIT_FAILED, "the server stopped: it could not serve");
}
