// The device host as a local attacker meets it: the device's files are the daemon's alone, a data
// root or a socket that others could use is refused before anything is written, only the dump tool
// and root reach an ability's dump, and the installed daemon serves a socket its service manager
// passes to it.

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "message_option.h"
#include "platform/transport/socket_remote_object.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr uid_t STRANGER_UID = 54321;
constexpr const char* SETTINGS_APP = "com.ohos.permissionmanager";
constexpr const char* VICTIM_TEXT = "precious\n";

std::string ReadText(const std::string& path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

void WriteText(const std::string& path, const std::string& text)
{
    std::ofstream(path) << text;
}

bool Exists(const std::string& path)
{
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

// Every path under `root` (the root itself included) with its type, mode and owner, as lstat sees
// them; empty when the root does not exist.
std::map<std::string, struct stat> Walk(const std::string& root)
{
    std::map<std::string, struct stat> entries;
    struct stat info {};
    if (lstat(root.c_str(), &info) != 0) {
        return entries;
    }
    entries[root] = info;
    std::error_code error;
    for (auto it = std::filesystem::recursive_directory_iterator(root, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
        if (lstat(it->path().c_str(), &info) == 0) {
            entries[it->path().string()] = info;
        }
    }
    return entries;
}

// What a walk shows, one line a path: enough to see that nothing was made, removed or changed.
std::string Describe(const std::map<std::string, struct stat>& entries)
{
    std::ostringstream text;
    for (const auto& [path, info] : entries) {
        text << path << " " << std::oct << info.st_mode << std::dec << " uid " << info.st_uid << " size "
             << (S_ISREG(info.st_mode) ? info.st_size : 0) << "\n";
    }
    return text.str();
}

TEST(HostHardeningTest, NoOtherUidCanOpenAnyFileOfTheDataRoot)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "switches uid: needs root";
    }
    HostdHarness hostd;
    hostd.SetAbilityLibrary(ASP_E2E_SERVICE_LIBRARY);
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput() << hostd.Log();
    // Usage records in the device's database and a policy in the service's own.
    ASSERT_EQ(hostd.RunTool("atm", {"record", "-b", "com.example.maps", "-p", "ohos.permission.LOCATION"}).exitCode, 0);
    const ToolResult policy = hostd.RunTool(
        "aspctl", {"--as", SETTINGS_APP, "gtoken", "add", "com.example.game.arcade", "--policy", "malicious-app=1"});
    ASSERT_EQ(policy.exitCode, 0) << policy.err;

    const std::map<std::string, struct stat> entries = Walk(hostd.DataRoot());
    std::vector<std::string> files;
    std::string exposed;
    for (const auto& [path, info] : entries) {
        const mode_t expected = S_ISDIR(info.st_mode) ? S_IFDIR | 0700 : S_IFREG | 0600;
        if (info.st_mode != expected || info.st_uid != 0) {
            exposed += path + "\n";
        }
        files.push_back(path);
    }
    EXPECT_EQ(exposed, "") << "not the daemon's alone:\n" << Describe(entries);
    for (const char* made : {"/asp_hostd.pid", "/data/host/device.db", "/data/host/device.db-wal",
             "/data/service/el1/public/database/gtoken_policy/gtoken_policy.db",
             "/data/service/el1/public/database/gtoken_policy/gtoken_policy.db-wal"}) {
        EXPECT_EQ(entries.count(hostd.DataRoot() + made), 1U) << made << " is missing:\n" << Describe(entries);
    }
    // Only the socket's directory lets others pass, to the socket alone.
    struct stat socketDirectory {};
    ASSERT_EQ(stat(std::filesystem::path(hostd.SocketPath()).parent_path().c_str(), &socketDirectory), 0);
    EXPECT_EQ(socketDirectory.st_mode & 07777, 0711U);

    const std::optional<std::string> opened = RunInChildAs(STRANGER_UID, [&files, &hostd] {
        struct stat socket {};
        std::string answer = stat(hostd.SocketPath().c_str(), &socket) == 0 ? "" : "socket unreachable\n";
        for (const std::string& path : files) {
            const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
            if (fd >= 0) {
                answer += path + "\n";
                close(fd);
            }
        }
        return answer;
    });
    ASSERT_TRUE(opened.has_value());
    EXPECT_EQ(*opened, "");
}

TEST(HostHardeningTest, UnsafeRootsAndUnusableSocketsAreRefusedBeforeAnythingIsWritten)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "makes files of another uid: needs root";
    }
    HostdHarness serving;
    ASSERT_TRUE(serving.Start()) << serving.StartupOutput();

    using Plant = std::function<void(const std::string& root, const std::string& victim)>;
    auto privateRoot = [](const std::string& root) { mkdir(root.c_str(), 0700); };
    struct Row {
        const char* name;
        Plant plant;         // makes the data root as the case has it; none: the root does not exist
        std::string socket;  // empty: the harness's own
        std::string message;
    };
    const std::vector<Row> rows = {
        {"a root of another uid",
            [&](const std::string& root, const std::string&) {
                privateRoot(root);
                EXPECT_EQ(chown(root.c_str(), STRANGER_UID, STRANGER_UID), 0);
            },
            "", "is owned by uid 54321, but asp_hostd runs as uid 0"},
        {"a root everyone may write",
            [&](const std::string& root, const std::string&) {
                privateRoot(root);
                chmod(root.c_str(), 0777);
            },
            "",
            "is open to its group or to others (mode 0777): they could replace the device's files. "
            "Make it private: chmod 0700"},
        {"a root everyone may read",
            [&](const std::string& root, const std::string&) {
                privateRoot(root);
                chmod(root.c_str(), 0755);
            },
            "", "(mode 0755): they could read the device's files"},
        {"a symbolic link at the pid path",
            [&](const std::string& root, const std::string& victim) {
                privateRoot(root);
                EXPECT_EQ(symlink(victim.c_str(), (root + "/asp_hostd.pid").c_str()), 0);
            },
            "", "asp_hostd.pid is a symbolic link"},
        {"a hard link at the pid path",
            [&](const std::string& root, const std::string& victim) {
                privateRoot(root);
                EXPECT_EQ(link(victim.c_str(), (root + "/asp_hostd.pid").c_str()), 0);
            },
            "", "asp_hostd.pid has other hard links"},
        {"a directory of another uid in the root",
            [&](const std::string& root, const std::string&) {
                privateRoot(root);
                mkdir((root + "/data").c_str(), 0700);
                EXPECT_EQ(chown((root + "/data").c_str(), STRANGER_UID, STRANGER_UID), 0);
            },
            "", "/data under the data root is owned by uid 54321"},
        {"a socket path too long", nullptr, "/tmp/" + std::string(110, 's') + "/asp_hostd.sock",
            "is empty or longer than a Unix socket allows"},
        {"a socket another daemon serves", nullptr, serving.SocketPath(),
            "another asp_hostd is serving " + serving.SocketPath()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        HostdHarness hostd;
        const std::string victim = hostd.Directory() + "/victim";
        WriteText(victim, VICTIM_TEXT);
        if (row.plant) {
            row.plant(hostd.DataRoot(), victim);
        }
        const std::string before = Describe(Walk(hostd.DataRoot()));
        const ToolResult result = hostd.RunDaemonToExit(hostd.DataRoot(), row.socket);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, HasSubstr(row.message));
        EXPECT_EQ(Describe(Walk(hostd.DataRoot())), before);
        EXPECT_EQ(ReadText(victim), VICTIM_TEXT);
        if (!row.socket.empty() && row.socket != serving.SocketPath()) {
            EXPECT_FALSE(Exists(std::filesystem::path(row.socket).parent_path().string()));
        }
    }
    EXPECT_TRUE(serving.Status().has_value());
}

// hidumper's arguments for the dump the attacker read another app's permissions with.
const std::vector<std::string> BANK_DUMP = {"-s", "65993", "-a", "permission get-by-app com.example.bank 100"};

TEST(HostHardeningTest, OnlyTheDumpToolOrRootReachAnAbilitysDump)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "switches uid: needs root";
    }
    HostdHarness hostd;
    hostd.SetAbilityLibrary(ASP_E2E_SERVICE_LIBRARY);
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    const auto settings = hostd.Bundle(SETTINGS_APP, 100);
    ASSERT_TRUE(settings.has_value());

    struct Row {
        const char* who;
        uid_t uid;
    };
    const Row refused[] = {{"an unknown uid", STRANGER_UID}, {"the shell", OHOS::Host::SHELL_UID},
        {"the settings app", static_cast<uid_t>(settings->uid)}};
    for (const Row& row : refused) {
        SCOPED_TRACE(row.who);
        const ToolResult result = hostd.RunTool("hidumper", BANK_DUMP, row.uid);
        EXPECT_EQ(result.exitCode, 4);
        EXPECT_THAT(result.err, HasSubstr("asp_hostd passes a dump only from the dump tool (uid 1212) or root; uid " +
                                          std::to_string(row.uid) + " is refused"));
        EXPECT_THAT(result.out, Not(HasSubstr("com.example.bank")));
    }
    // Refused before the ability was even loaded.
    const auto status = hostd.Status();
    ASSERT_TRUE(status.has_value());
    ASSERT_EQ(status->abilities.size(), 1U);
    EXPECT_EQ(status->abilities[0].loads, 0U);

    // The dump tool, and root through it: the service's own dump, unchanged.
    for (const std::optional<uid_t>& uid : {std::optional<uid_t>(OHOS::Host::HIDUMPER_UID), std::optional<uid_t>()}) {
        SCOPED_TRACE(uid ? "the dump tool" : "root");
        const ToolResult result = hostd.RunTool("hidumper", BANK_DUMP, uid);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_THAT(result.out, HasSubstr("OHOS, com.example.bank, "));
    }
    // Root as itself.
    OHOS::Host::Transport::SocketRemoteObject remote(hostd.SocketPath(), 65993);
    testing::internal::CaptureStdout();
    const int result = remote.Dump(STDOUT_FILENO, {u"permission", u"get-by-app", u"com.example.bank", u"100"});
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("OHOS, com.example.bank, "));
    EXPECT_EQ(result, 0);
}

// A socket bound and listening, as a service manager makes it; -1 when it cannot.
int ListeningSocket(const std::string& path)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    struct sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (fd < 0 || bind(fd, reinterpret_cast<const struct sockaddr*>(&address), sizeof(address)) != 0 ||
        chmod(path.c_str(), 0666) != 0 || listen(fd, SOMAXCONN) != 0) {
        return -1;
    }
    return fd;
}

// Starts `program` with `fd` as descriptor 3 and the variables of socket activation naming the
// child; its output goes to `outPath`.
pid_t StartActivated(const std::vector<std::string>& args, int fd, const std::string& outPath)
{
    std::vector<std::string> copy = args;
    std::vector<char*> argv;
    for (std::string& arg : copy) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        if (fd == 3) {
            fcntl(fd, F_SETFD, 0);
        } else if (dup2(fd, 3) != 3) {  // dup2 clears close-on-exec
            _exit(126);
        }
        setenv("LISTEN_FDS", "1", 1);
        setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
        execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

TEST(HostHardeningTest, TheInstalledTreeServesASocketPassedByTheServiceManager)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "speaks as the settings app: needs root";
    }
    HostdHarness scratch;
    const std::string prefix = scratch.Directory() + "/prefix";
    const ToolResult install = RunProgram({ASP_E2E_CMAKE, "--install", ASP_E2E_BUILD_DIR, "--prefix", prefix});
    ASSERT_EQ(install.exitCode, 0) << install.out << install.err;
    for (const char* program : {"asp_hostd", "aspctl", "hidumper", "bm", "atm", "param"}) {
        EXPECT_EQ(access((prefix + "/bin/" + program).c_str(), X_OK), 0) << program;
    }
    for (const char* file :
        {"lib/libsecurity_privacy_service.so", "lib/libasp_platform.so", "share/asp/profiles/default_device.json",
            "lib/systemd/system/asp_hostd.service", "lib/systemd/system/asp_hostd.socket"}) {
        EXPECT_TRUE(Exists(prefix + "/" + file)) << file;
    }
    const std::string service = ReadText(prefix + "/lib/systemd/system/asp_hostd.service");
    const std::string socketUnit = ReadText(prefix + "/lib/systemd/system/asp_hostd.socket");
    EXPECT_THAT(service, HasSubstr("\nExecStart=" + prefix + "/bin/asp_hostd --data-root ${STATE_DIRECTORY} "));
    for (const char* line : {"StateDirectoryMode=0700", "RuntimeDirectoryMode=0711", "NoNewPrivileges=yes",
             "ProtectSystem=strict", "RestrictAddressFamilies=AF_UNIX", "SystemCallFilter=@system-service"}) {
        EXPECT_THAT(service, HasSubstr(std::string("\n") + line + "\n"));
    }
    EXPECT_THAT(socketUnit, HasSubstr("\nListenStream=/run/asp/asp_hostd.sock\n"));
    // systemd's own reading of the units, where systemd is installed: they parse, and the sandbox
    // leaves the service a low exposure.
    if (access("/usr/bin/systemd-analyze", X_OK) == 0) {
        const std::string units = prefix + "/lib/systemd/system/";
        const ToolResult verify = RunProgram({"/usr/bin/systemd-analyze", "verify", "--man=no",
            units + "asp_hostd.socket", units + "asp_hostd.service"});
        EXPECT_EQ(verify.exitCode, 0);
        EXPECT_EQ(verify.err, "");
        const ToolResult security = RunProgram(
            {"/usr/bin/systemd-analyze", "security", "--offline=true", "--threshold=10", units + "asp_hostd.service"});
        EXPECT_EQ(security.exitCode, 0) << security.out;
    }

    // Started as the socket unit starts it: the socket bound elsewhere, passed as descriptor 3. The
    // daemon finds its ability library and profile in the installed tree by itself.
    const std::string socketDirectory = scratch.Directory() + "/activated";
    ASSERT_EQ(mkdir(socketDirectory.c_str(), 0711), 0);
    const std::string socketPath = socketDirectory + "/asp_hostd.sock";
    const int listener = ListeningSocket(socketPath);
    ASSERT_GE(listener, 0) << std::strerror(errno);
    const pid_t daemon = StartActivated(
        {prefix + "/bin/asp_hostd", "--data-root", scratch.DataRoot()}, listener, scratch.Directory() + "/out");
    close(listener);
    ASSERT_GT(daemon, 0);
    std::optional<OHOS::Host::HostStatus> status;
    const bool answered = WaitFor(
        [&] {
            status = HostdHarness::StatusAt(socketPath);
            return status.has_value() || waitpid(daemon, nullptr, WNOHANG) == daemon;
        },
        std::chrono::seconds(20));
    ASSERT_TRUE(answered && status.has_value()) << ReadText(scratch.Directory() + "/out");
    EXPECT_EQ(status->socketPath, socketPath);
    EXPECT_TRUE(status->deviceSeeded);
    ASSERT_EQ(status->abilities.size(), 1U);
    EXPECT_EQ(status->abilities[0].libraryPath, prefix + "/lib/libsecurity_privacy_service.so");
    // A request of the settings app, served by the installed ability library.
    const ToolResult groups = RunProgram(
        {prefix + "/bin/aspctl", "--socket", socketPath, "--as", SETTINGS_APP, "groups", "com.example.maps"});
    EXPECT_EQ(groups.exitCode, 0) << groups.err;
    EXPECT_THAT(groups.out, HasSubstr("LOCATION"));

    kill(daemon, SIGTERM);
    int waitStatus = -1;
    ASSERT_TRUE(WaitFor([&] { return waitpid(daemon, &waitStatus, WNOHANG) == daemon; }, std::chrono::seconds(30)));
    EXPECT_TRUE(WIFEXITED(waitStatus) && WEXITSTATUS(waitStatus) == 0) << ReadText(scratch.Directory() + "/out");
    // The socket is the service manager's: left where it was. The pid file goes with a clean stop.
    EXPECT_TRUE(Exists(socketPath));
    EXPECT_FALSE(Exists(scratch.DataRoot() + "/asp_hostd.pid"));
}

}  // namespace
}  // namespace AspTest
