/*
 * The privacy service's dump, SecurityPrivacyService::Dump, as the dump tool reaches it: any
 * arguments, from the dump tool's identity (or root's), on the small device
 * (FuzzDevice::SMALL_PROFILE: the default device's kinds of app, few enough that a run reaches a
 * million inputs), with the container's broker connected or not and answering whatever the input
 * says.
 *
 * Input: byte 0 options (bit 0: the arguments are raw UTF-16 units, not UTF-8 text; bit 1: a
 * container broker is connected; bit 2: the caller is root, not the dump tool); byte 1 the
 * broker's result code (int8); bytes 2-3 n (little-endian, at most MAX_BROKER_ANSWER), then n bytes
 * of the broker's answer; the rest the arguments, separated by '\n' (a UTF-16 unit 0x000A when raw).
 *
 * Checked besides "no crash, no leak": the dump answers 0 and writes, in order, the refusal lines
 * its caller earns (root is not the dump tool), the line that names the arguments, what the
 * modules wrote, and "Dump done." last; the device is the same afterwards.
 */
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "message/message_broker_proxy.h"
#include "platform/access_token/access_token_service.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"
#include "service/security_privacy_service.h"
#include "string_ex.h"
#include "tests/fuzz/fuzz_broker.h"
#include "tests/fuzz/fuzz_device.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Service = Srv::SecurityPrivacyService;
using namespace AspFuzz;

constexpr uint8_t RAW_UTF16 = 0x01;
constexpr uint8_t WITH_BROKER = 0x02;
constexpr uint8_t AS_ROOT = 0x04;
constexpr size_t MAX_BROKER_ANSWER = 4096;
constexpr const char* CALLED_LINE = "Dump called with ";
constexpr const char* DONE_LINE = "Dump done.\n";

std::shared_ptr<FuzzBroker> g_broker;
OHOS::Host::CallerIdentity g_dumpTool;
OHOS::Host::CallerIdentity g_root;
int g_file = -1;

std::vector<std::u16string> Arguments(bool raw, const std::vector<uint8_t>& bytes)
{
    std::vector<std::u16string> args(1);
    if (raw) {
        for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
            const auto unit = static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8U));
            if (unit == u'\n') {
                args.emplace_back();
            } else {
                args.back().push_back(unit);
            }
        }
        return args;
    }
    std::string text(bytes.begin(), bytes.end());
    args.clear();
    size_t start = 0;
    for (size_t end = text.find('\n'); ; end = text.find('\n', start)) {
        args.push_back(OHOS::Str8ToStr16(text.substr(start, end == std::string::npos ? end : end - start)));
        if (end == std::string::npos) {
            break;
        }
        start = end + 1;
    }
    return args;
}

std::string Written(int fd)
{
    struct stat info {};
    FUZZ_CHECK(fstat(fd, &info) == 0);
    std::string text(static_cast<size_t>(info.st_size), '\0');
    FUZZ_CHECK(pread(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    // Debug lines are formatted (caller-sent strings included) but not printed.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    OHOS::HiviewDFX::Host::HiLogHost::SetLevel(LOG_DEBUG);
    FuzzDevice::Boot(FuzzDevice::SMALL_PROFILE);
    FuzzDevice::StartService();
    auto& tokens = OHOS::Security::AccessToken::Host::AccessTokenService::GetInstance();
    g_dumpTool = OHOS::Host::CallerIdentity::Of(
        4242, Service::DUMPER_UID, tokens.GetFullTokenId(tokens.FindNativeTokenByUid(Service::DUMPER_UID)));
    g_root = OHOS::Host::CallerIdentity::Of(1, 0, tokens.GetFullTokenId(tokens.FindNativeTokenByUid(0)));
    g_broker = std::make_shared<FuzzBroker>();
    g_file = memfd_create("asp-fuzz-dump", MFD_CLOEXEC);
    FUZZ_CHECK(g_file >= 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t options = input.TakeByte();
    const auto brokerCode = static_cast<int8_t>(input.TakeByte());
    const std::string answer = input.TakeString(input.TakeU16() % (MAX_BROKER_ANSWER + 1));
    const std::vector<std::u16string> args = Arguments((options & RAW_UTF16) != 0, input.TakeRest());

    g_broker->SetAnswer(brokerCode, answer);
    Srv::Message::MessageBrokerProxy::GetInstance().SetBroker((options & WITH_BROKER) != 0 ? g_broker : nullptr);
    FUZZ_CHECK(ftruncate(g_file, 0) == 0 && lseek(g_file, 0, SEEK_SET) == 0);
    const bool asRoot = (options & AS_ROOT) != 0;
    int result = -1;
    {
        OHOS::Host::ScopedCallingIdentity identity(asRoot ? g_root : g_dumpTool);
        result = Service::GetInstance().Dump(g_file, args);
    }
    const std::string text = Written(g_file);

    // The dump goes on whoever asks, and says so when the caller is not the dump tool.
    FUZZ_CHECK(result == 0);
    const std::string refusal = asRoot ? "No permission for you!!, uid=0\n" : "";
    FUZZ_CHECK(text.compare(0, refusal.size(), refusal) == 0);
    FUZZ_CHECK(text.compare(refusal.size(), std::strlen(CALLED_LINE), CALLED_LINE) == 0);
    FUZZ_CHECK(text.size() >= std::strlen(DONE_LINE) &&
               text.compare(text.size() - std::strlen(DONE_LINE), std::string::npos, DONE_LINE) == 0);
    // A dump only reads.
    const std::string changed = FuzzDevice::Difference();
    if (!changed.empty()) {
        std::fprintf(stderr, "the dump changed the device: %s\n", changed.c_str());
        FUZZ_CHECK(changed.empty());
    }
    return 0;
}
