#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "tests/platform_data/platform_data_test.h"
#include "tokenid_kit.h"

namespace AspTest {
namespace {

using namespace OHOS::Security::AccessToken;
using Host::AccessTokenService;
using Host::TokenChange;
using OHOS::Host::ScopedFault;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";
const std::string LOCATION = "ohos.permission.LOCATION";
using StateFlags = std::pair<int32_t, uint32_t>;

class AccessTokenTest : public PlatformDataTest {
protected:
    static Host::TokenIds MakeApp(const std::string& bundleName, bool isSystemApp,
        std::vector<PermissionStatus> permissions, int32_t userId = 100)
    {
        Host::HapTokenParams params;
        params.bundleName = bundleName;
        params.userId = userId;
        params.apiVersion = 11;
        params.isSystemApp = isSystemApp;
        params.permissions = std::move(permissions);
        return AccessTokenService::GetInstance().CreateHapToken(params);
    }

    // The grant state and flags of one permission, as a pair; (99, 99) when the flag is not readable.
    static StateFlags State(AccessTokenID tokenId, const std::string& name)
    {
        uint32_t flag = 99;
        if (AccessTokenKit::GetPermissionFlag(tokenId, name, flag) != RET_SUCCESS) {
            return {99, 99};
        }
        return {AccessTokenKit::VerifyAccessToken(tokenId, name), flag};
    }
};

TEST_F(AccessTokenTest, ApplicationAndNativeTokensCarryTheirTypeAndSystemAppBit)
{
    const auto settings = MakeApp("com.example.settings", true, {{CAMERA, PERMISSION_GRANTED, 0}});
    const auto game = MakeApp("com.example.game", false, {});
    ASSERT_NE(settings.tokenId, INVALID_TOKENID);
    ASSERT_NE(game.tokenId, INVALID_TOKENID);
    // Application tokens have the platform's layout: version 1, type 0.
    EXPECT_EQ(settings.tokenId >> 27, 0x4u);
    EXPECT_EQ(settings.fullTokenId, (1ULL << 32) | settings.tokenId);
    EXPECT_EQ(game.fullTokenId, static_cast<uint64_t>(game.tokenId));
    EXPECT_TRUE(TokenIdKit::IsSystemAppByFullTokenID(settings.fullTokenId));
    EXPECT_FALSE(TokenIdKit::IsSystemAppByFullTokenID(game.fullTokenId));
    EXPECT_FALSE(TokenIdKit::IsSystemAppByFullTokenID(settings.tokenId));
    EXPECT_EQ(AccessTokenKit::GetTokenType(settings.tokenId), TOKEN_HAP);
    EXPECT_EQ(AccessTokenKit::GetTokenType(INVALID_TOKENID), TOKEN_INVALID);
    EXPECT_EQ(AccessTokenKit::GetTokenType(settings.tokenId + 100), TOKEN_INVALID);

    HapTokenInfo info;
    ASSERT_EQ(AccessTokenKit::GetHapTokenInfo(settings.tokenId, info), RET_SUCCESS);
    EXPECT_EQ(info.bundleName, "com.example.settings");
    EXPECT_EQ(info.userID, 100);
    EXPECT_EQ(info.apiVersion, 11);
    EXPECT_EQ(info.tokenAttr, 1u);
    ASSERT_EQ(AccessTokenKit::GetHapTokenInfo(game.tokenId, info), RET_SUCCESS);
    EXPECT_EQ(info.tokenAttr, 0u);
    EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(INVALID_TOKENID, info), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(settings.tokenId + 100, info), ERR_TOKENID_NOT_EXIST);
    EXPECT_EQ(AccessTokenKit::GetHapTokenID(100, "com.example.game", 0), game.tokenId);
    EXPECT_EQ(AccessTokenKit::GetHapTokenID(101, "com.example.game", 0), INVALID_TOKENID);

    auto& service = AccessTokenService::GetInstance();
    service.InstallDefaultNativeTokens();
    const AccessTokenID dumper = service.FindNativeTokenByUid(1212);
    const AccessTokenID shell = service.FindNativeTokenByUid(0);
    EXPECT_EQ(AccessTokenKit::GetTokenType(dumper), TOKEN_NATIVE);
    EXPECT_EQ(AccessTokenKit::GetTokenType(shell), TOKEN_SHELL);
    EXPECT_EQ(AccessTokenKit::GetTokenType(service.FindNativeTokenByUid(2000)), TOKEN_SHELL);
    EXPECT_EQ(AccessTokenKit::GetNativeTokenId("hidumper_service"), dumper);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(dumper, "ohos.permission.DUMP"), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(shell, "ohos.permission.DUMP"), PERMISSION_DENIED);
    // A process's own permissions are not the permission dialogs' business.
    uint32_t flag = 0;
    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(dumper, "ohos.permission.DUMP", flag), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::RevokePermission(dumper, "ohos.permission.DUMP", 0), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(dumper, "ohos.permission.DUMP"), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(dumper, info), ERR_PARAM_INVALID);
    // One token per uid; installing the defaults twice changes nothing.
    const size_t count = service.ListTokens().size();
    service.InstallDefaultNativeTokens();
    EXPECT_EQ(service.ListTokens().size(), count);
    EXPECT_EQ(service.CreateNativeToken({"other", 1212, TOKEN_NATIVE, {}, INVALID_TOKENID}), INVALID_TOKENID);
    EXPECT_EQ(service.CreateNativeToken({"app", 3000, TOKEN_HAP, {}, INVALID_TOKENID}), INVALID_TOKENID);
    const AccessTokenID tool = service.CreateNativeToken({"tool", 3000, TOKEN_NATIVE, {CAMERA}, INVALID_TOKENID});
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(tool, CAMERA), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(tool, MICROPHONE), PERMISSION_DENIED);
}

TEST_F(AccessTokenTest, GrantAndRevokeReplaceTheFlagsExactlyAsGiven)
{
    const auto app = MakeApp("com.example.cam", false,
        {{CAMERA, PERMISSION_DENIED, PERMISSION_GRANTED_BY_POLICY}, {MICROPHONE, PERMISSION_GRANTED, 0}});
    EXPECT_EQ(State(app.tokenId, CAMERA), StateFlags(PERMISSION_DENIED, PERMISSION_GRANTED_BY_POLICY));
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, LOCATION), PERMISSION_DENIED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(INVALID_TOKENID, CAMERA), PERMISSION_DENIED);
    // Each row: grant or revoke with the flags, then the state and flags read back. Flags are not
    // merged with the old ones; granting twice is no error; a policy-fixed permission is not system
    // fixed, so the call goes through.
    const struct {
        bool grant;
        uint32_t flags;
    } rows[] = {{true, PERMISSION_USER_SET | PERMISSION_USER_FIXED}, {false, PERMISSION_ALLOW_THIS_TIME},
        {true, PERMISSION_DEFAULT_FLAG}, {true, PERMISSION_DEFAULT_FLAG}, {false, PERMISSION_POLICY_FIXED},
        {true, PERMISSION_POLICY_FIXED}};
    for (const auto& row : rows) {
        ASSERT_EQ(row.grant ? AccessTokenKit::GrantPermission(app.tokenId, CAMERA, row.flags)
                            : AccessTokenKit::RevokePermission(app.tokenId, CAMERA, row.flags),
            RET_SUCCESS)
            << row.flags;
        EXPECT_EQ(State(app.tokenId, CAMERA), StateFlags(row.grant ? PERMISSION_GRANTED : PERMISSION_DENIED, row.flags))
            << row.flags;
    }
    EXPECT_EQ(State(app.tokenId, MICROPHONE), StateFlags(PERMISSION_GRANTED, 0u));  // the other stays

    // System fixed permissions are refused, even by a call that would keep the bit, and are left as
    // they are, unheard; the device's own provisioning may change them.
    const uint32_t fixed = PERMISSION_SYSTEM_FIXED | PERMISSION_GRANTED_BY_POLICY;
    const auto sys = MakeApp("com.example.fixed", true,
        {{CAMERA, PERMISSION_GRANTED, fixed}, {MICROPHONE, PERMISSION_DENIED, PERMISSION_SYSTEM_FIXED}});
    std::vector<TokenChange> changes;
    AccessTokenService::GetInstance().SetListener(
        [&changes](TokenChange change, AccessTokenID) { changes.push_back(change); });
    EXPECT_EQ(AccessTokenKit::RevokePermission(sys.tokenId, CAMERA, PERMISSION_USER_FIXED), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GrantPermission(sys.tokenId, MICROPHONE, PERMISSION_USER_SET), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GrantPermission(sys.tokenId, CAMERA, fixed), ERR_PARAM_INVALID);
    EXPECT_EQ(State(sys.tokenId, CAMERA), StateFlags(PERMISSION_GRANTED, fixed));
    EXPECT_EQ(State(sys.tokenId, MICROPHONE), StateFlags(PERMISSION_DENIED, PERMISSION_SYSTEM_FIXED));
    EXPECT_TRUE(changes.empty());
    ASSERT_TRUE(AccessTokenService::GetInstance().SetPermissionStatus(sys.tokenId, CAMERA, PERMISSION_DENIED, 0));
    EXPECT_EQ(State(sys.tokenId, CAMERA), StateFlags(PERMISSION_DENIED, 0u));
    EXPECT_EQ(changes, std::vector<TokenChange>{TokenChange::PERMISSION_CHANGED});
    EXPECT_FALSE(AccessTokenService::GetInstance().SetPermissionStatus(sys.tokenId, LOCATION, PERMISSION_DENIED, 0));
    EXPECT_FALSE(AccessTokenService::GetInstance().SetPermissionStatus(sys.tokenId, CAMERA, 1, 0));
}

TEST_F(AccessTokenTest, RefusalsNameTheirReasonAndChangeNothing)
{
    const auto app = MakeApp("com.example.cam", false, {{CAMERA, PERMISSION_DENIED, PERMISSION_USER_SET}});
    const struct {
        AccessTokenID tokenId;
        std::string permission;
        uint32_t flags;
        int32_t code;
    } rows[] = {{app.tokenId, LOCATION, 0, ERR_PERMISSION_NOT_EXIST},
        {app.tokenId + 1, CAMERA, 0, ERR_TOKENID_NOT_EXIST}, {INVALID_TOKENID, CAMERA, 0, ERR_PARAM_INVALID},
        {app.tokenId, "", 0, ERR_PARAM_INVALID}, {app.tokenId, std::string(300, 'p'), 0, ERR_PARAM_INVALID},
        {app.tokenId, CAMERA, 0x80, ERR_PARAM_INVALID}};  // flags outside the known bits
    for (const auto& row : rows) {
        EXPECT_EQ(AccessTokenKit::GrantPermission(row.tokenId, row.permission, row.flags), row.code) << row.permission;
        EXPECT_EQ(AccessTokenKit::RevokePermission(row.tokenId, row.permission, row.flags), row.code) << row.permission;
        if (row.flags == 0) {
            uint32_t flag = 77;
            EXPECT_EQ(AccessTokenKit::GetPermissionFlag(row.tokenId, row.permission, flag), row.code);
            EXPECT_EQ(flag, 77u);
        }
    }
    EXPECT_EQ(State(app.tokenId, CAMERA), StateFlags(PERMISSION_DENIED, PERMISSION_USER_SET));
}

TEST_F(AccessTokenTest, CreationRefusalsDeletionAndRestoredIds)
{
    auto& service = AccessTokenService::GetInstance();
    const auto app = MakeApp("com.example.a", false, {{CAMERA, PERMISSION_GRANTED, 0}});
    ASSERT_NE(app.tokenId, INVALID_TOKENID);
    EXPECT_EQ(MakeApp("com.example.a", false, {}).tokenId, INVALID_TOKENID);  // same instance
    EXPECT_NE(MakeApp("com.example.a", false, {}, 101).tokenId, INVALID_TOKENID);
    EXPECT_EQ(MakeApp("", false, {}).tokenId, INVALID_TOKENID);
    EXPECT_EQ(MakeApp("com.example.b", false, {{CAMERA, 0, 0}, {CAMERA, 0, 0}}).tokenId, INVALID_TOKENID);
    EXPECT_EQ(MakeApp("com.example.b", false, {{CAMERA, 1, 0}}).tokenId, INVALID_TOKENID);
    EXPECT_EQ(MakeApp("com.example.b", false, {{"", 0, 0}}).tokenId, INVALID_TOKENID);

    ASSERT_TRUE(service.DeleteToken(app.tokenId));
    EXPECT_FALSE(service.DeleteToken(app.tokenId));
    EXPECT_EQ(AccessTokenKit::GetTokenType(app.tokenId), TOKEN_INVALID);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_DENIED);
    EXPECT_EQ(service.FindHapToken("com.example.a", 100, 0), INVALID_TOKENID);

    // The device database takes its ids again; an id in use or of another type is refused.
    Host::HapTokenParams restored;
    restored.bundleName = "com.example.a";
    restored.userId = 100;
    restored.tokenId = app.tokenId;
    EXPECT_EQ(service.CreateHapToken(restored).tokenId, app.tokenId);
    restored.bundleName = "com.example.c";
    EXPECT_EQ(service.CreateHapToken(restored).tokenId, INVALID_TOKENID);
    restored.tokenId = 0x28000777u;  // a native token id
    EXPECT_EQ(service.CreateHapToken(restored).tokenId, INVALID_TOKENID);
    // New ids never collide with restored ones.
    const auto fresh = MakeApp("com.example.d", false, {});
    EXPECT_NE(fresh.tokenId, INVALID_TOKENID);
    EXPECT_NE(fresh.tokenId, app.tokenId);
    const auto tokens = service.ListTokens();
    ASSERT_EQ(tokens.size(), 3u);
    EXPECT_LT(tokens[0].tokenId, tokens[1].tokenId);
    EXPECT_LT(tokens[1].tokenId, tokens[2].tokenId);
}

TEST_F(AccessTokenTest, ListenerHearsEveryChangeAndMayCallBack)
{
    auto& service = AccessTokenService::GetInstance();
    std::vector<std::pair<TokenChange, size_t>> heard;
    service.SetListener([&heard, &service](TokenChange change, AccessTokenID tokenId) {
        // Called outside the service's lock: reading back must not dead-lock.
        heard.emplace_back(change, service.GetPermissionStatuses(tokenId).size());
    });
    const auto app = MakeApp("com.example.a", false, {{CAMERA, PERMISSION_DENIED, 0}});
    ASSERT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, PERMISSION_USER_SET), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GrantPermission(app.tokenId, MICROPHONE, PERMISSION_USER_SET), ERR_PERMISSION_NOT_EXIST);
    ASSERT_TRUE(service.DeleteToken(app.tokenId));
    const std::vector<std::pair<TokenChange, size_t>> expected = {
        {TokenChange::CREATED, 1}, {TokenChange::PERMISSION_CHANGED, 1}, {TokenChange::DELETED, 0}};
    EXPECT_EQ(heard, expected);
}

TEST_F(AccessTokenTest, FaultPointsFailOneCallWithTheArmedCode)
{
    const auto app = MakeApp("com.example.a", false, {{CAMERA, PERMISSION_GRANTED, PERMISSION_USER_SET}});
    HapTokenInfo info;
    {
        ScopedFault fault("AccessTokenKit::GetHapTokenInfo", ERR_TOKENID_NOT_EXIST);
        EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(app.tokenId, info), ERR_TOKENID_NOT_EXIST);
        EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(app.tokenId, info), RET_SUCCESS);
    }
    {
        ScopedFault fault("AccessTokenKit::VerifyAccessToken", PERMISSION_DENIED, -1);
        EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_DENIED);
        EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_DENIED);
    }
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_GRANTED);
}

}  // namespace
}  // namespace AspTest
