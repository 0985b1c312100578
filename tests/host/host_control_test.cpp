// The daemon's own requests, served in this process on the real platform services: who is
// admitted, how malformed requests are answered, and how the services' refusals come back.

#include <memory>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "access_token_error.h"
#include "appexecfwk_errors.h"
#include "host/host_control.h"
#include "host/host_control_protocol.h"
#include "host/host_control_records.h"
#include "ipc_types.h"
#include "parameters.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/parameters/parameter_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "tests/support/device_reset.h"

namespace AspTest {
namespace {

using OHOS::MessageParcel;
using OHOS::Host::CallerIdentity;
using OHOS::Host::HostControlCode;
using OHOS::Host::Daemon::HostControl;
using OHOS::Host::Transport::ReplyFrame;
using OHOS::Host::Transport::RequestFrame;
using ::testing::HasSubstr;

void Write(MessageParcel& data, int32_t value) { data.WriteInt32(value); }
void Write(MessageParcel& data, uint32_t value) { data.WriteUint32(value); }
void Write(MessageParcel& data, int64_t value) { data.WriteInt64(value); }
void Write(MessageParcel& data, bool value) { data.WriteBool(value); }
void Write(MessageParcel& data, const std::string& value) { data.WriteString(value); }
void Write(MessageParcel& data, const char* value) { data.WriteString(value); }

// A request parcel of the values given, each written as its type is.
template <typename... Values>
std::shared_ptr<MessageParcel> ParcelOf(const Values&... values)
{
    auto data = std::make_shared<MessageParcel>();
    (Write(*data, values), ...);
    return data;
}

struct Answer {
    int32_t status = -1;  // the reply frame's
    int32_t result = -1;
    std::string message;
    MessageParcel rest;
};

class HostControlTest : public testing::Test {
protected:
    void SetUp() override
    {
        ResetDevice();
        OHOS::Security::AccessToken::Host::AccessTokenService::GetInstance().InstallDefaultNativeTokens();
    }

    static CallerIdentity Uid(uid_t uid) { return CallerIdentity{1234, uid, 0, 0}; }

    std::unique_ptr<Answer> Call(HostControlCode code, const MessageParcel& data, uid_t uid = 0)
    {
        RequestFrame request;
        request.abilityId = OHOS::Host::HOST_CONTROL_ABILITY_ID;
        request.code = static_cast<uint32_t>(code);
        const auto* bytes = reinterpret_cast<const uint8_t*>(data.GetData());
        request.payload.assign(bytes, bytes + data.GetDataSize());
        return Serve(request, uid);
    }

    std::unique_ptr<Answer> Serve(const RequestFrame& request, uid_t uid)
    {
        const ReplyFrame reply = control_.Handle(Uid(uid), request);
        auto answer = std::make_unique<Answer>();
        answer->status = reply.status;
        if (!reply.payload.empty()) {
            answer->rest.ParseFrom(reinterpret_cast<uintptr_t>(reply.payload.data()), reply.payload.size());
            answer->rest.ReadInt32(answer->result);
            answer->rest.ReadString(answer->message);
        }
        return answer;
    }

    static MessageParcel& Install(MessageParcel& data, const std::string& name, int32_t user,
        const std::vector<OHOS::Host::PermissionEntry>& permissions)
    {
        data.WriteString(name);
        data.WriteInt32(user);
        data.WriteInt32(-1);
        data.WriteBool(false);
        data.WriteString("unspecified");
        OHOS::Host::WritePermissions(data, permissions);
        return data;
    }

    HostControl control_{[] {
        OHOS::Host::HostStatus status;
        status.pid = 77;
        status.abilities.push_back({65993, "/lib/x.so", true, true, 2, 1, ""});
        return status;
    }};
};

TEST_F(HostControlTest, OnlyRootAndTheShellMayProvision)
{
    MessageParcel data;
    data.WriteString("persist.x");
    data.WriteString("1");
    for (uid_t uid : {uid_t{1000}, uid_t{1212}, uid_t{20010005}, uid_t{4242}}) {
        const auto answer = Call(HostControlCode::SET_PARAMETER, data, uid);
        EXPECT_EQ(answer->status, OHOS::ERR_NONE);
        EXPECT_EQ(answer->result, OHOS::Host::HOST_CONTROL_PERMISSION_DENIED) << uid;
        EXPECT_THAT(answer->message, HasSubstr("caller uid " + std::to_string(uid)));
    }
    EXPECT_EQ(OHOS::system::GetParameter("persist.x", "unset"), "unset");
    EXPECT_EQ(Call(HostControlCode::SET_PARAMETER, data, OHOS::Host::SHELL_UID)->result, 0);
    EXPECT_EQ(OHOS::system::GetParameter("persist.x", "unset"), "1");
}

TEST_F(HostControlTest, MalformedRequestsAreAnsweredNotServed)
{
    // Not a parcel at all.
    RequestFrame odd;
    odd.code = static_cast<uint32_t>(HostControlCode::GET_PARAMETER);
    odd.payload = {1, 2, 3};
    EXPECT_EQ(Serve(odd, 0)->status, OHOS::ERR_INVALID_DATA);

    // A parcel that ends early: an install without its permission list, a grant without flags.
    MessageParcel shortInstall;
    shortInstall.WriteString("com.a");
    shortInstall.WriteInt32(100);
    auto answer = Call(HostControlCode::INSTALL_BUNDLE, shortInstall);
    EXPECT_EQ(answer->result, OHOS::Host::HOST_CONTROL_INVALID_ARGUMENT);
    EXPECT_THAT(answer->message, HasSubstr("an install request carries"));
    MessageParcel lyingCount;
    Install(lyingCount, "com.a", 100, {});
    lyingCount.SetDataSize(lyingCount.GetDataSize() - 4);
    lyingCount.WriteInt32(1000000);  // permissions the parcel cannot hold
    EXPECT_EQ(Call(HostControlCode::INSTALL_BUNDLE, lyingCount)->result, OHOS::Host::HOST_CONTROL_INVALID_ARGUMENT);
    EXPECT_FALSE(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().FindBundle("com.a", 100).has_value());

    MessageParcel empty;
    EXPECT_EQ(Call(static_cast<HostControlCode>(99), empty)->result, OHOS::Host::HOST_CONTROL_UNKNOWN_CODE);
    EXPECT_EQ(Call(HostControlCode::UPDATE_PERMISSION, empty)->result, OHOS::Host::HOST_CONTROL_INVALID_ARGUMENT);
}

TEST_F(HostControlTest, ProvisioningRoundTripsAndRefusalsSayWhy)
{
    MessageParcel install;
    Install(install, "com.e2e.cam", 100, {{"ohos.permission.CAMERA", -1, 0}, {"ohos.permission.MICROPHONE", 0, 4}});
    auto answer = Call(HostControlCode::INSTALL_BUNDLE, install);
    ASSERT_EQ(answer->result, 0) << answer->message;
    const int32_t uid = answer->rest.ReadInt32();
    EXPECT_EQ(uid / 200000, 100);

    MessageParcel again;
    answer = Call(HostControlCode::INSTALL_BUNDLE, Install(again, "com.e2e.cam", 100, {}));
    EXPECT_THAT(answer->message, HasSubstr("is installed already"));
    MessageParcel noUser;
    answer = Call(HostControlCode::INSTALL_BUNDLE, Install(noUser, "com.e2e.cam", 555, {}));
    EXPECT_EQ(answer->result, OHOS::ERR_BUNDLE_MANAGER_INVALID_USER_ID);
    EXPECT_THAT(answer->message, HasSubstr("user 555 does not exist"));

    // A system-fixed permission cannot be revoked; a requested one is granted with the flags given.
    auto update = [this](const std::string& permission, bool grant, uint32_t flags) {
        MessageParcel data;
        data.WriteUint32(0);
        data.WriteString("com.e2e.cam");
        data.WriteInt32(100);
        data.WriteString(permission);
        data.WriteBool(grant);
        data.WriteUint32(flags);
        return Call(HostControlCode::UPDATE_PERMISSION, data);
    };
    answer = update("ohos.permission.MICROPHONE", false, 0);
    EXPECT_EQ(answer->result, OHOS::Security::AccessToken::ERR_PARAM_INVALID);
    EXPECT_THAT(answer->message, HasSubstr("is system fixed"));
    EXPECT_EQ(update("ohos.permission.CAMERA", true, 2)->result, 0);

    MessageParcel lookUp;
    lookUp.WriteString("com.e2e.cam");
    lookUp.WriteInt32(100);
    answer = Call(HostControlCode::GET_BUNDLE, lookUp);
    OHOS::Host::BundleView bundle;
    ASSERT_TRUE(OHOS::Host::ReadBundleView(answer->rest, bundle, true));
    EXPECT_EQ(bundle.uid, uid);
    ASSERT_EQ(bundle.permissions.size(), 2U);
    EXPECT_EQ(bundle.permissions[0].grantStatus, 0);
    EXPECT_EQ(bundle.permissions[0].flags, 2U);

    // A usage record needs a permission the app requested; one it did request is stored.
    auto usage = [this](const std::string& permission) {
        MessageParcel data;
        data.WriteUint32(0);
        data.WriteString("com.e2e.cam");
        data.WriteInt32(100);
        data.WriteString(permission);
        for (int32_t value : {1, 0, 2, 1, 0}) {
            data.WriteInt32(value);
        }
        data.WriteInt64(0);
        data.WriteInt64(0);
        return Call(HostControlCode::ADD_USAGE, data);
    };
    EXPECT_EQ(usage("ohos.permission.CAMERA")->result, 0);
    EXPECT_THAT(usage("ohos.permission.LOCATION")->message, HasSubstr("did not request 'ohos.permission.LOCATION'"));
    const auto records = OHOS::Security::AccessToken::Host::PrivacyRecordService::GetInstance().ListRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].status, 2);
    EXPECT_GT(records[0].timestamp, 0);  // 0 asked for "now"

    MessageParcel status;
    answer = Call(HostControlCode::STATUS, status);
    OHOS::Host::HostStatus hostStatus;
    ASSERT_TRUE(OHOS::Host::ReadHostStatus(answer->rest, hostStatus));
    EXPECT_EQ(hostStatus.pid, 77);
    ASSERT_EQ(hostStatus.abilities.size(), 1U);
    EXPECT_EQ(hostStatus.abilities[0].loads, 2U);
}

TEST_F(HostControlTest, ValuesOutsideTheirRulesAreRefusedAsInvalidAndNothingIsStored)
{
    auto& tokens = OHOS::Security::AccessToken::Host::AccessTokenService::GetInstance();
    auto& records = OHOS::Security::AccessToken::Host::PrivacyRecordService::GetInstance();
    MessageParcel app;
    Install(app, "com.e2e.cam", 100, {{"ohos.permission.CAMERA", 0, 0}});
    ASSERT_EQ(Call(HostControlCode::INSTALL_BUNDLE, app)->result, 0);
    const size_t tokensBefore = tokens.ListTokens().size();

    const std::string camera = "ohos.permission.CAMERA";
    const auto install = [](const std::string& name, int32_t index, const std::string& permission) {
        return ParcelOf(name, 100, index, true, "unspecified", 1, permission, 0, 0U);
    };
    const auto parameter = [](const std::string& key, const std::string& value) { return ParcelOf(key, value); };
    const auto grant = [](const std::string& permission) {
        return ParcelOf(0U, "com.e2e.cam", 100, permission, true, 0U);
    };
    // A usage record (success count, app status, used type, time), alone or the third of a bulk add.
    const auto one = [&camera](int32_t success, int32_t status, int32_t type, int64_t time) {
        return ParcelOf(0U, "com.e2e.cam", 100, camera, success, 0, status, 1, type, time, int64_t{0});
    };
    const auto bulk = [&camera](int32_t type) {
        const auto record = [&camera](int32_t success, int32_t type) {
            return std::make_tuple(0U, "com.e2e.cam", 100, camera, success, 0, 1, 1, type, int64_t{0}, int64_t{0});
        };
        return std::apply([](const auto&... fields) { return ParcelOf(3, fields...); },
            std::tuple_cat(record(1, 0), record(2, 0), record(3, type)));
    };
    const std::string huge(100 * 1024, 'a');
    const int64_t year3170000 = 100000000000000000LL;
    const struct {
        const char* what;
        HostControlCode code;
        std::shared_ptr<MessageParcel> data;
        const char* says;
    } cases[] = {
        {"a 100 KB bundle name", HostControlCode::INSTALL_BUNDLE, install(huge, -1, camera), "(102400 bytes) is not a"},
        {"a bundle name with a space", HostControlCode::INSTALL_BUNDLE, install("com.e2e.my app", -1, camera),
            "'com.e2e.my app' is not a bundle name"},
        {"an unknown permission", HostControlCode::INSTALL_BUNDLE, install("com.e2e.x", -1, "ohos.permission.FLY"),
            "unknown permission 'ohos.permission.FLY'"},
        {"a negative index", HostControlCode::INSTALL_BUNDLE, install("com.e2e.x", -5, camera), "-5 is negative"},
        {"the shell's index", HostControlCode::INSTALL_BUNDLE, install("com.e2e.x", 2000, camera),
            "below the application range"},
        {"an index past a user's uids", HostControlCode::INSTALL_BUNDLE, install("com.e2e.x", 200000, camera),
            "does not fit"},
        {"a 100 KB parameter key", HostControlCode::SET_PARAMETER, parameter(huge, "1"), "is not a key"},
        {"a key with a space", HostControlCode::SET_PARAMETER, parameter("persist.my key", "1"), "is not a key"},
        {"an empty key", HostControlCode::SET_PARAMETER, parameter("", "1"), "is not a key"},
        {"a value too long", HostControlCode::SET_PARAMETER, parameter("persist.x", std::string(97, 'v')),
            "has 97 bytes: at most 96"},
        {"a grant of an unknown permission", HostControlCode::UPDATE_PERMISSION, grant("ohos.permission.FLY"),
            "unknown permission"},
        {"a negative count", HostControlCode::ADD_USAGE, one(-5, 1, 0, 0), "neither may be negative"},
        {"an unknown app status", HostControlCode::ADD_USAGE, one(1, 3, 0, 0), "app status is 3"},
        {"an unknown used type", HostControlCode::ADD_USAGE, one(1, 1, 7, 0), "used type is 7"},
        {"a time in the year 3,170,000", HostControlCode::ADD_USAGE, one(1, 1, 0, year3170000),
            "not that of a use that happened"},
        {"a bulk add with a bad last record", HostControlCode::ADD_USAGES, bulk(-1), "record 2: the used type is -1"},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.what);
        const auto answer = Call(item.code, *item.data, OHOS::Host::SHELL_UID);
        EXPECT_EQ(answer->result, OHOS::Host::HOST_CONTROL_INVALID_ARGUMENT) << answer->message;
        EXPECT_THAT(answer->message, HasSubstr(item.says));
        EXPECT_LT(answer->message.size(), 400U);
    }
    EXPECT_EQ(tokens.ListTokens().size(), tokensBefore);
    EXPECT_EQ(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().ListBundles().size(), 1U);
    EXPECT_TRUE(OHOS::system::Host::ParameterHost::Snapshot().empty());
    EXPECT_EQ(records.RecordCount(), 0U);

    // A bulk add of good records stores all of them.
    const auto added = Call(HostControlCode::ADD_USAGES, *bulk(2));
    EXPECT_EQ(added->result, 0) << added->message;
    EXPECT_EQ(records.RecordCount(), 3U);
}

}  // namespace
}  // namespace AspTest
