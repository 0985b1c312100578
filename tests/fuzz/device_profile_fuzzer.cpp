/*
 * The device profile loader, DeviceProfile::Parse and Apply: any text as a profile, applied to a
 * fresh device (users 0 and 100, nothing else) at a fixed "now".
 *
 * Input: the profile's text.
 *
 * Checked besides "no crash, no leak, no unbounded work":
 * - a text that does not parse is PROFILE_INVALID with a message naming where;
 * - a profile that parses provisions a fresh device whole (Parse has checked it against itself,
 *   so nothing may be refused halfway): every user, every system process with its uid, type and
 *   permissions granted and fixed, every bundle entry on each of its users with its flags, index
 *   and permission states in order, every parameter, and exactly the records its usage expands to,
 *   none after "now";
 * - applied a second time, it is refused before anything changes (or, when it names no process
 *   and no bundle, changes nothing).
 */
#include <cstdint>
#include <cstdio>
#include <string>

#include "access_token.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/device/device_profile.h"
#include "platform/device/device_snapshot.h"
#include "platform/hilog/hilog_host.h"
#include "platform/parameters/parameter_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "tests/fuzz/fuzz_device.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using namespace AspFuzz;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::Host::DeviceError;
using OHOS::Host::DeviceProfile;
using OHOS::Host::DeviceResult;
using OHOS::Security::AccessToken::Host::AccessTokenService;
using OHOS::Security::AccessToken::Host::PrivacyRecordService;

void CheckProvisioned(const DeviceProfile& profile)
{
    auto& bundles = BundleManagerService::GetInstance();
    auto& tokens = AccessTokenService::GetInstance();
    for (int32_t user : profile.Users()) {
        FUZZ_CHECK(bundles.HasUser(user));
    }
    for (const auto& process : profile.NativeProcesses()) {
        const auto token = tokens.GetToken(tokens.FindNativeTokenByUid(process.uid));
        FUZZ_CHECK(token && token->processName == process.processName && token->type == process.type);
        FUZZ_CHECK(token->permissions.size() == process.permissions.size());
        for (const auto& held : token->permissions) {
            FUZZ_CHECK(held.grantStatus == OHOS::Security::AccessToken::PERMISSION_GRANTED &&
                       (held.grantFlag & OHOS::Security::AccessToken::PERMISSION_SYSTEM_FIXED) != 0);
        }
    }
    for (const auto& bundle : profile.Bundles()) {
        for (int32_t user : bundle.users) {
            const auto installed = bundles.FindBundle(bundle.name, user);
            FUZZ_CHECK(installed && installed->isSystemApp == bundle.isSystemApp &&
                       installed->entityType == bundle.entityType);
            FUZZ_CHECK(bundle.appIndex < 0 || installed->appIndex == bundle.appIndex);
            const auto states = tokens.GetPermissionStatuses(installed->tokenId);
            FUZZ_CHECK(states.size() == bundle.permissions.size());
            for (size_t i = 0; i < states.size(); ++i) {
                FUZZ_CHECK(states[i].permissionName == bundle.permissions[i].permissionName &&
                           states[i].grantStatus == bundle.permissions[i].grantStatus &&
                           states[i].grantFlag == bundle.permissions[i].grantFlag);
            }
        }
    }
    const auto parameters = OHOS::system::Host::ParameterHost::Snapshot();
    for (const auto& [key, value] : profile.Parameters()) {
        const auto it = parameters.find(key);
        FUZZ_CHECK(it != parameters.end() && it->second == value);
    }
    const auto expanded = profile.ExpandUsage(
        [&bundles](const std::string& name, int32_t user) {
            const auto installed = bundles.FindBundle(name, user);
            return installed ? installed->tokenId : OHOS::Security::AccessToken::INVALID_TOKENID;
        },
        FuzzDevice::NOW_MS);
    const auto records = PrivacyRecordService::GetInstance().ListRecords();
    FUZZ_CHECK(records.size() == expanded.size());
    for (const auto& record : records) {
        FUZZ_CHECK(record.timestamp <= FuzzDevice::NOW_MS);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    // A data root of its own for whatever a service keeps in files.
    FuzzDevice::Boot(FuzzDevice::SMALL_PROFILE);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    DeviceProfile profile;
    const DeviceResult parsed = DeviceProfile::Parse(text, profile);
    if (!parsed.Ok()) {
        FUZZ_CHECK(parsed.error == DeviceError::PROFILE_INVALID && !parsed.message.empty());
        return 0;
    }
    FuzzDevice::ResetServices();
    const DeviceResult applied = profile.Apply(FuzzDevice::NOW_MS);
    if (!applied.Ok() && Avoids("profile.refused_halfway")) {
        FuzzDevice::ResetServices();
        return -1;
    }
    if (!applied.Ok()) {
        std::fprintf(stderr, "a profile that parsed was refused on a fresh device: %s\n", applied.message.c_str());
        FUZZ_CHECK(applied.Ok());
    }
    CheckProvisioned(profile);

    const OHOS::Host::DeviceSnapshot once = OHOS::Host::DeviceSnapshot::Capture();
    const DeviceResult again = profile.Apply(FuzzDevice::NOW_MS);
    FUZZ_CHECK(again.Ok() ? profile.NativeProcesses().empty() && profile.Bundles().empty()
                          : again.error == DeviceError::PROFILE_REFUSED && !again.message.empty());
    const std::string changed = FuzzDevice::Difference(OHOS::Host::DeviceSnapshot::Capture(), once);
    if (!changed.empty()) {
        std::fprintf(stderr, "the second application changed %s (%s)\n", changed.c_str(), again.message.c_str());
        FUZZ_CHECK(changed.empty());
    }
    FuzzDevice::ResetServices();
    return 0;
}
