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

    static int32_t StateOf(AccessTokenID tokenId, const std::string& name)
    {
        for (const auto& status : AccessTokenService::GetInstance().GetPermissionStatuses(tokenId)) {
            if (status.permissionName == name) {
                return status.grantStatus;
            }
        }
        return 99;
    }
};

TEST_F(AccessTokenTest, ApplicationTokensCarryTypeInfoAndSystemAppBit)
{
    const auto settings = MakeApp("com.example.settings", true, {{CAMERA, PERMISSION_GRANTED, 0}});
    const auto game = MakeApp("com.example.game", false, {});
    ASSERT_NE(settings.tokenId, INVALID_TOKENID);
    ASSERT_NE(game.tokenId, INVALID_TOKENID);
    EXPECT_NE(settings.tokenId, game.tokenId);

    // Application tokens have the platform's layout: version 1, type 0.
    EXPECT_EQ(settings.tokenId >> 27, 0x4u);
    EXPECT_EQ(settings.fullTokenId, (1ULL << 32) | settings.tokenId);
    EXPECT_EQ(game.fullTokenId, static_cast<uint64_t>(game.tokenId));
    EXPECT_TRUE(TokenIdKit::IsSystemAppByFullTokenID(settings.fullTokenId));
    EXPECT_FALSE(TokenIdKit::IsSystemAppByFullTokenID(game.fullTokenId));
    EXPECT_FALSE(TokenIdKit::IsSystemAppByFullTokenID(settings.tokenId));
    EXPECT_EQ(AccessTokenService::GetInstance().GetFullTokenId(settings.tokenId), settings.fullTokenId);

    EXPECT_EQ(AccessTokenKit::GetTokenType(settings.tokenId), TOKEN_HAP);
    EXPECT_EQ(AccessTokenKit::GetTokenType(INVALID_TOKENID), TOKEN_INVALID);
    EXPECT_EQ(AccessTokenKit::GetTokenType(settings.tokenId + 100), TOKEN_INVALID);

    HapTokenInfo info;
    ASSERT_EQ(AccessTokenKit::GetHapTokenInfo(settings.tokenId, info), RET_SUCCESS);
    EXPECT_EQ(info.bundleName, "com.example.settings");
    EXPECT_EQ(info.userID, 100);
    EXPECT_EQ(info.instIndex, 0);
    EXPECT_EQ(info.apiVersion, 11);
    EXPECT_EQ(info.tokenID, settings.tokenId);
    EXPECT_EQ(info.tokenAttr, 1u);
    ASSERT_EQ(AccessTokenKit::GetHapTokenInfo(game.tokenId, info), RET_SUCCESS);
    EXPECT_EQ(info.bundleName, "com.example.game");
    EXPECT_EQ(info.tokenAttr, 0u);

    EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(INVALID_TOKENID, info), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(settings.tokenId + 100, info), ERR_TOKENID_NOT_EXIST);
    EXPECT_EQ(AccessTokenKit::GetHapTokenID(100, "com.example.game", 0), game.tokenId);
    EXPECT_EQ(AccessTokenKit::GetHapTokenID(101, "com.example.game", 0), INVALID_TOKENID);
}

TEST_F(AccessTokenTest, NativeAndShellTokensOfSystemProcesses)
{
    auto& service = AccessTokenService::GetInstance();
    service.InstallDefaultNativeTokens();
    const AccessTokenID dumper = service.FindNativeTokenByUid(1212);
    const AccessTokenID shell = service.FindNativeTokenByUid(0);
    ASSERT_NE(dumper, INVALID_TOKENID);
    ASSERT_NE(shell, INVALID_TOKENID);
    EXPECT_EQ(AccessTokenKit::GetTokenType(dumper), TOKEN_NATIVE);
    EXPECT_EQ(AccessTokenKit::GetTokenType(shell), TOKEN_SHELL);
    EXPECT_EQ(AccessTokenKit::GetTokenType(service.FindNativeTokenByUid(2000)), TOKEN_SHELL);
    EXPECT_EQ(AccessTokenKit::GetNativeTokenId("hidumper_service"), dumper);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(dumper, "ohos.permission.DUMP"), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(shell, "ohos.permission.DUMP"), PERMISSION_DENIED);
    EXPECT_FALSE(TokenIdKit::IsSystemAppByFullTokenID(service.GetFullTokenId(dumper)));

    // A process's own permissions are not the permission dialogs' business.
    uint32_t flag = 0;
    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(dumper, "ohos.permission.DUMP", flag), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::RevokePermission(dumper, "ohos.permission.DUMP", 0), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(dumper, "ohos.permission.DUMP"), PERMISSION_GRANTED);
    HapTokenInfo info;
    EXPECT_EQ(AccessTokenKit::GetHapTokenInfo(dumper, info), ERR_PARAM_INVALID);

    // One token per uid; installing the defaults twice changes nothing.
    const size_t count = service.ListTokens().size();
    service.InstallDefaultNativeTokens();
    EXPECT_EQ(service.ListTokens().size(), count);
    EXPECT_EQ(service.CreateNativeToken({"other", 1212, TOKEN_NATIVE, {}, INVALID_TOKENID}), INVALID_TOKENID);
    EXPECT_EQ(service.CreateNativeToken({"app", 3000, TOKEN_HAP, {}, INVALID_TOKENID}), INVALID_TOKENID);
    const AccessTokenID tool = service.CreateNativeToken({"tool", 3000, TOKEN_NATIVE, {CAMERA}, INVALID_TOKENID});
    ASSERT_NE(tool, INVALID_TOKENID);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(tool, CAMERA), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(tool, MICROPHONE), PERMISSION_DENIED);
}

TEST_F(AccessTokenTest, VerifyFollowsTheCurrentGrantState)
{
    const auto app = MakeApp("com.example.cam", false,
        {{CAMERA, PERMISSION_GRANTED, PERMISSION_USER_SET}, {MICROPHONE, PERMISSION_DENIED, PERMISSION_DEFAULT_FLAG}});
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, MICROPHONE), PERMISSION_DENIED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, LOCATION), PERMISSION_DENIED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(INVALID_TOKENID, CAMERA), PERMISSION_DENIED);

    ASSERT_EQ(AccessTokenKit::RevokePermission(app.tokenId, CAMERA, PERMISSION_USER_FIXED), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GrantPermission(app.tokenId, MICROPHONE, PERMISSION_USER_SET), RET_SUCCESS);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_DENIED);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, MICROPHONE), PERMISSION_GRANTED);
}

TEST_F(AccessTokenTest, GrantAndRevokeStoreTheFlagsExactlyAsGiven)
{
    const auto app = MakeApp("com.example.cam", false, {{CAMERA, PERMISSION_DENIED, PERMISSION_GRANTED_BY_POLICY}});
    uint32_t flag = 0xFFFF;
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_GRANTED_BY_POLICY));

    // Not merged with the old flags: replaced.
    ASSERT_EQ(
        AccessTokenKit::GrantPermission(app.tokenId, CAMERA, PERMISSION_USER_SET | PERMISSION_USER_FIXED), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_USER_SET | PERMISSION_USER_FIXED));
    EXPECT_EQ(StateOf(app.tokenId, CAMERA), PERMISSION_GRANTED);

    ASSERT_EQ(AccessTokenKit::RevokePermission(app.tokenId, CAMERA, PERMISSION_ALLOW_THIS_TIME), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_ALLOW_THIS_TIME));
    EXPECT_EQ(StateOf(app.tokenId, CAMERA), PERMISSION_DENIED);

    // Granting with no flags clears them; granting twice is no error.
    ASSERT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, PERMISSION_DEFAULT_FLAG), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, PERMISSION_DEFAULT_FLAG), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    EXPECT_EQ(flag, 0u);

    // A policy-fixed permission is not system fixed: the call goes through.
    ASSERT_EQ(AccessTokenKit::RevokePermission(app.tokenId, CAMERA, PERMISSION_POLICY_FIXED), RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, PERMISSION_POLICY_FIXED), RET_SUCCESS);
    EXPECT_EQ(StateOf(app.tokenId, CAMERA), PERMISSION_GRANTED);
}

TEST_F(AccessTokenTest, SystemFixedPermissionsAreRefusedAndLeftAsTheyAre)
{
    const uint32_t fixedFlags = PERMISSION_SYSTEM_FIXED | PERMISSION_GRANTED_BY_POLICY;
    const auto app = MakeApp("com.example.fixed", true,
        {{CAMERA, PERMISSION_GRANTED, fixedFlags}, {MICROPHONE, PERMISSION_DENIED, PERMISSION_SYSTEM_FIXED}});
    std::vector<TokenChange> changes;
    AccessTokenService::GetInstance().SetListener(
        [&changes](TokenChange change, AccessTokenID) { changes.push_back(change); });

    EXPECT_EQ(AccessTokenKit::RevokePermission(app.tokenId, CAMERA, PERMISSION_USER_FIXED), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, MICROPHONE, PERMISSION_USER_SET), ERR_PARAM_INVALID);
    // Even a call that would keep the fixed bit is refused.
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, fixedFlags), ERR_PARAM_INVALID);

    uint32_t flag = 0;
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    EXPECT_EQ(flag, fixedFlags);
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, MICROPHONE, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_SYSTEM_FIXED));
    EXPECT_EQ(StateOf(app.tokenId, CAMERA), PERMISSION_GRANTED);
    EXPECT_EQ(StateOf(app.tokenId, MICROPHONE), PERMISSION_DENIED);
    EXPECT_TRUE(changes.empty());

    // The device's own provisioning may change it.
    ASSERT_TRUE(AccessTokenService::GetInstance().SetPermissionStatus(app.tokenId, CAMERA, PERMISSION_DENIED, 0));
    EXPECT_EQ(StateOf(app.tokenId, CAMERA), PERMISSION_DENIED);
    EXPECT_EQ(changes, std::vector<TokenChange>{TokenChange::PERMISSION_CHANGED});
    EXPECT_FALSE(AccessTokenService::GetInstance().SetPermissionStatus(app.tokenId, LOCATION, PERMISSION_DENIED, 0));
    EXPECT_FALSE(AccessTokenService::GetInstance().SetPermissionStatus(app.tokenId, CAMERA, 1, 0));
}

TEST_F(AccessTokenTest, RefusalsNameTheirReason)
{
    const auto app = MakeApp("com.example.cam", false, {{CAMERA, PERMISSION_DENIED, PERMISSION_USER_SET}});
    uint32_t flag = 77;
    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, LOCATION, flag), ERR_PERMISSION_NOT_EXIST);
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, LOCATION, 0), ERR_PERMISSION_NOT_EXIST);
    EXPECT_EQ(AccessTokenKit::RevokePermission(app.tokenId, LOCATION, 0), ERR_PERMISSION_NOT_EXIST);
    EXPECT_EQ(flag, 77u);

    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId + 1, CAMERA, flag), ERR_TOKENID_NOT_EXIST);
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId + 1, CAMERA, 0), ERR_TOKENID_NOT_EXIST);
    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(INVALID_TOKENID, CAMERA, flag), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GrantPermission(INVALID_TOKENID, CAMERA, 0), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, "", 0), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, std::string(300, 'p'), 0), ERR_PARAM_INVALID);

    // Flags outside the known bits are refused, and the permission stays as it was.
    EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, 0x80), ERR_PARAM_INVALID);
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_DENIED);
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_USER_SET));
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
    const auto again = service.CreateHapToken(restored);
    EXPECT_EQ(again.tokenId, app.tokenId);
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
    uint32_t flag = 0;
    HapTokenInfo info;
    {
        ScopedFault fault("AccessTokenKit::GetPermissionFlag", ERR_SERVICE_ABNORMAL);
        EXPECT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), ERR_SERVICE_ABNORMAL);
        EXPECT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
    }
    {
        ScopedFault fault("AccessTokenKit::GrantPermission", ERR_SERVICE_ABNORMAL);
        EXPECT_EQ(AccessTokenKit::GrantPermission(app.tokenId, CAMERA, 0), ERR_SERVICE_ABNORMAL);
        ASSERT_EQ(AccessTokenKit::GetPermissionFlag(app.tokenId, CAMERA, flag), RET_SUCCESS);
        EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_USER_SET));  // nothing was stored
    }
    {
        ScopedFault fault("AccessTokenKit::RevokePermission", RET_FAILED);
        EXPECT_EQ(AccessTokenKit::RevokePermission(app.tokenId, CAMERA, 0), RET_FAILED);
        EXPECT_EQ(AccessTokenKit::VerifyAccessToken(app.tokenId, CAMERA), PERMISSION_GRANTED);
    }
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
