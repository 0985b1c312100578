#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "iservice_registry.h"
#include "system_ability_definition.h"
#include "tests/policy/gtoken_policy_test_support.h"

namespace AspTest {
namespace {

using OHOS::HiviewDFX::Host::LogCapture;
using OHOS::Host::FaultInjection;
using OHOS::Host::ScopedFault;
using testing::ElementsAre;
using testing::IsEmpty;

using GTokenPolicyFailureTest = GTokenPolicyTest;

constexpr int INJECTED = 12345;

TEST_F(GTokenPolicyFailureTest, WithoutAStoreEveryOperationAnswersTheOpensCodeAndTouchesNothing)
{
    Install("com.a");
    Service().ResetForTest();
    {
        ScopedFault fault("RdbHelper::GetRdbStore", OHOS::NativeRdb::E_SQLITE_CANTOPEN);
        LogCapture capture;
        Service().Init();
        EXPECT_EQ(capture.Count(
                      LOG_ERROR, "create rdb store error, code=" + std::to_string(OHOS::NativeRdb::E_SQLITE_CANTOPEN)),
            1u);
        EXPECT_EQ(capture.Count("end gtoken Init"), 1u);
    }
    const std::string code = std::to_string(OHOS::NativeRdb::E_SQLITE_CANTOPEN);
    LogCapture capture;
    EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
    EXPECT_EQ(capture.Count(LOG_ERROR, "cannot find store when adding policy, ret=" + code), 1u);
    // The store is checked before anything is sent.
    EXPECT_THAT(AppControlCalls(), IsEmpty());

    auto answer = Service().GetPolicy(MALICIOUS, {});
    EXPECT_EQ(answer.ret, OHOS::NativeRdb::E_SQLITE_CANTOPEN);
    EXPECT_THAT(answer.results, IsEmpty());
    EXPECT_EQ(capture.Count(LOG_ERROR, "cannot find store when getting policy, ret=" + code), 1u);

    EXPECT_FALSE(Service().RemovePolicy({"com.a"}));
    EXPECT_EQ(capture.Count(LOG_ERROR, "cannot find store when removing policy, ret=" + code), 1u);

    // Without any Init there is no open's code: the store's generic error stands for it.
    Service().ResetForTest();
    EXPECT_EQ(Service().GetPolicy(MALICIOUS, {}).ret, OHOS::NativeRdb::E_ERROR);
    EXPECT_FALSE(Service().AddPolicy({}));

    // The fault was one open: the next start opens the store, and the file is new and empty.
    Service().Init();
    auto reopened = Service().GetPolicy(MALICIOUS, {});
    EXPECT_EQ(reopened.ret, 0);
    EXPECT_THAT(reopened.results, IsEmpty());
}

TEST_F(GTokenPolicyFailureTest, AnAppControlFailureMidWayLeavesSentStatusesSentAndTheTableUntouched)
{
    const std::string appA = Install("com.a");
    const std::string appB = Install("com.b");
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{"p", 1}}), Info("com.b", {{MALICIOUS, 1}})}));
    const auto before = TableRows();
    AppControlService::GetInstance().ClearCallLog();

    // The first set fails: nothing was sent, nothing changes.
    {
        ScopedFault fault("AppControl::SetDisposedStatus", INJECTED);
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}}), Info("com.b", {{MALICIOUS, 0}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "SetDisposedStatus error, ret=" + std::to_string(INJECTED)), 1u);
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to send BMS message for bundleName=com.a"), 1u);
        EXPECT_EQ(capture.Count("end gtoken AddPolicy"), 0u);
    }
    EXPECT_THAT(AppControlCalls(), IsEmpty());
    EXPECT_EQ(TableRows(), before);

    // The second info's delete fails after the first info's set went out: that set stays.
    {
        ScopedFault fault("AppControl::DeleteDisposedStatus", INJECTED);
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}}), Info("com.b", {{MALICIOUS, 0}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "DeleteDisposedStatus error, ret=" + std::to_string(INJECTED)), 1u);
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to send BMS message for bundleName=com.b"), 1u);
    }
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appA + "@100"));
    EXPECT_EQ(DisposedApps(), (std::set<std::string>{appA + "@100", appB + "@100"}));
    EXPECT_EQ(TableRows(), before);

    // Every new value goes out, then lifting com.b's old 1 fails: the table still holds the old rows.
    AppControlService::GetInstance().ClearCallLog();
    {
        LogCapture capture;
        FaultInjection::Set("AppControl::DeleteDisposedStatus", INJECTED, 1);
        EXPECT_FALSE(Service().AddPolicy({Info("com.b", {{MALICIOUS, 1}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "DeleteDisposedStatus error, ret=" + std::to_string(INJECTED)), 1u);
        // The lift is not a new value of an info: no "failed to send" line for it.
        EXPECT_EQ(capture.Count("failed to send BMS message"), 0u);
    }
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appB + "@100"));
    EXPECT_EQ(TableRows(), before);

    // With the fault gone the same add goes through.
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.b", {{MALICIOUS, 1}})}));
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appB + "@100", "DELETE " + appB + "@100"));
}

TEST_F(GTokenPolicyFailureTest, AppIdFailuresStopTheAddBeforeAnythingIsWritten)
{
    const std::string appA = Install("com.a");
    ASSERT_TRUE(Service().AddPolicy({Info("com.keep", {{"p", 1}})}));
    const auto before = TableRows();
    AppControlService::GetInstance().ClearCallLog();

    // A bundle the primary user does not have has no app id for user 100, even when another user has it.
    ASSERT_TRUE(BundleManagerService::GetInstance().AddUser(101));
    Install("com.elsewhere", 101);
    {
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}}), Info("com.elsewhere", {{MALICIOUS, 1}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to get appId by bundle name"), 1u);
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to send BMS message for bundleName=com.elsewhere"), 1u);
    }
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appA + "@100"));
    EXPECT_EQ(TableRows(), before);

    AppControlService::GetInstance().ClearCallLog();
    {
        ScopedFault fault("BundleMgr::GetAppIdByBundleName", INJECTED);
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 0}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to get appId by bundle name"), 1u);
    }
    // The bundle manager is not registered: no object for ability 401.
    {
        auto samgr = OHOS::SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        ASSERT_EQ(samgr->RemoveSystemAbility(OHOS::BUNDLE_MGR_SERVICE_SYS_ABILITY_ID), 0);
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 0}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to get object"), 1u);
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to get appId by bundle name"), 1u);
        BundleManagerService::GetInstance().RegisterWithSamgr();
    }
    EXPECT_THAT(AppControlCalls(), IsEmpty());
    EXPECT_EQ(TableRows(), before);
}

TEST_F(GTokenPolicyFailureTest, TheBundleManagerInAnotherProcessIsReachedThroughItsProxies)
{
    // The manager's object presents itself as a proxy object and this process has no creator for
    // its proxy: the store makes the proxy itself, and app control comes through its own proxy.
    const std::string appA = Install("com.a");
    BundleManagerService::GetInstance().SetPresentedAsProxy(true);
    {
        LogCapture capture;
        ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to get bundleMgrProxy"), 0u);
    }
    BundleManagerService::GetInstance().SetProxyCreatorRegistered(true);
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 0}})}));
    EXPECT_THAT(
        AppControlCalls(), ElementsAre("SET " + appA + "@100", "DELETE " + appA + "@100", "DELETE " + appA + "@100"));
    EXPECT_THAT(DisposedApps(), IsEmpty());
}

// A bundle manager whose app control hands out no remote object (a broken or foreign one).
class ObjectlessAppControl : public OHOS::AppExecFwk::IAppControlMgr {
public:
    ObjectlessAppControl() { ExtendObjectLifetime(); }
    OHOS::ErrCode SetDisposedStatus(const std::string&, const OHOS::Want&, int32_t) override { return OHOS::ERR_OK; }
    OHOS::ErrCode DeleteDisposedStatus(const std::string&, int32_t) override { return OHOS::ERR_OK; }
    OHOS::ErrCode GetDisposedStatus(const std::string&, OHOS::Want&, int32_t) override { return OHOS::ERR_OK; }
    OHOS::sptr<OHOS::IRemoteObject> AsObject() override { return nullptr; }
};

class BundleMgrWithObjectlessAppControl : public OHOS::IRemoteObject, public OHOS::AppExecFwk::IBundleMgr {
public:
    BundleMgrWithObjectlessAppControl() : OHOS::IRemoteObject(IBundleMgr::GetDescriptor()) { ExtendObjectLifetime(); }
    int SendRequest(uint32_t, OHOS::MessageParcel&, OHOS::MessageParcel&, OHOS::MessageOption&) override { return 4; }
    bool IsProxyObject() const override { return false; }
    OHOS::sptr<OHOS::IRemoteBroker> AsInterface() override { return static_cast<IBundleMgr*>(this); }
    OHOS::sptr<OHOS::IRemoteObject> AsObject() override { return static_cast<IRemoteObject*>(this); }
    std::string GetAppIdByBundleName(const std::string& bundleName, const int) override { return bundleName + "_id"; }
    OHOS::sptr<OHOS::AppExecFwk::IAppControlMgr> GetAppControlProxy() override { return &appControl_; }

private:
    ObjectlessAppControl appControl_;
};

TEST_F(GTokenPolicyFailureTest, AnAppControlWithoutARemoteObjectIsRefused)
{
    BundleMgrWithObjectlessAppControl bundleMgr;
    auto samgr = OHOS::SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    ASSERT_EQ(samgr->RemoveSystemAbility(OHOS::BUNDLE_MGR_SERVICE_SYS_ABILITY_ID), 0);
    ASSERT_EQ(samgr->AddSystemAbility(OHOS::BUNDLE_MGR_SERVICE_SYS_ABILITY_ID, bundleMgr.AsObject()), 0);
    LogCapture capture;
    EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
    EXPECT_EQ(capture.Count("get appId=com.a_id for bundleName=com.a"), 1u);
    EXPECT_EQ(capture.Count(LOG_ERROR, "iface_cast failed."), 1u);
    EXPECT_EQ(capture.Count(LOG_ERROR, "failed to send BMS message for bundleName=com.a"), 1u);
    EXPECT_THAT(TableRows(), IsEmpty());
    ASSERT_EQ(samgr->RemoveSystemAbility(OHOS::BUNDLE_MGR_SERVICE_SYS_ABILITY_ID), 0);
    BundleManagerService::GetInstance().RegisterWithSamgr();
}

TEST_F(GTokenPolicyFailureTest, AppControlIsObtainedOnceAndAFailureToObtainItIsRetried)
{
    const std::string appA = Install("com.a");
    {
        ScopedFault fault("BundleMgr::GetAppControlProxy", INJECTED);
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "GetAppControlProxy failed."), 1u);
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to send BMS message for bundleName=com.a"), 1u);
    }
    EXPECT_THAT(AppControlCalls(), IsEmpty());
    EXPECT_THAT(TableRows(), IsEmpty());

    // The failure was not kept: the next add obtains app control and keeps it.
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
    FaultInjection::Set("BundleMgr::GetAppControlProxy", INJECTED, -1);
    EXPECT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 0}})}));
    // Never asked again: the armed fault is still there to take.
    EXPECT_EQ(FaultInjection::Take("BundleMgr::GetAppControlProxy"), INJECTED);
    FaultInjection::Clear("BundleMgr::GetAppControlProxy");
    EXPECT_THAT(
        AppControlCalls(), ElementsAre("SET " + appA + "@100", "DELETE " + appA + "@100", "DELETE " + appA + "@100"));
}

// A trigger that a second connection puts on the table makes SQLite refuse the insert of one
// bundle's rows: a storage failure in the middle of an add, after its removal ran.
void FailInsertsOf(OHOS::NativeRdb::RdbStore& store, const std::string& bundle)
{
    ASSERT_EQ(store.ExecuteSql("CREATE TRIGGER fail_insert BEFORE INSERT ON gtoken_policy WHEN NEW.bundle_name = '" +
                               bundle + "' BEGIN SELECT RAISE(ABORT, 'injected'); END"),
        OHOS::NativeRdb::E_OK);
}

TEST_F(GTokenPolicyFailureTest, AFailedInsertLeavesEveryBundleWithItsOldRows)
{
    const std::string appA = Install("com.a");
    ASSERT_TRUE(Service().AddPolicy({
        Info("com.a", {{MALICIOUS, 1}, {"p", 1}}, 1, "old"),
        Info("com.b", {{"p", 2}}, 1, "old"),
    }));
    const auto before = TableRows();
    ASSERT_EQ(before.size(), 3u);

    auto other = OpenSecondConnection();
    ASSERT_NE(other, nullptr);
    FailInsertsOf(*other, "com.fail");
    AppControlService::GetInstance().ClearCallLog();
    {
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({
            Info("com.a", {{"p", 10}}, 2, "new"),
            Info("com.b", {}, 2, "new"),
            Info("com.fail", {{"p", 3}}),
        }));
        EXPECT_EQ(capture.Count(LOG_ERROR, "fail to Insert, ret="), 1u);
        EXPECT_EQ(capture.Count("end gtoken AddPolicy"), 0u);
        // The removal had run inside the add before the insert failed.
        EXPECT_EQ(capture.Count("end gtoken RemovePolicy"), 1u);
    }
    // The removal went back with the insert: com.a and com.b keep their old rows.
    EXPECT_EQ(TableRows(), before);
    // The status that com.a's old row had set was lifted before the rows changed; that stays.
    EXPECT_THAT(AppControlCalls(), ElementsAre("DELETE " + appA + "@100"));

    // Two rows with one key in a single add are refused by the table's key the same way.
    {
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.b", {{"p", 5}, {"p", 6}})}));
        EXPECT_EQ(
            capture.Count(LOG_ERROR, "fail to Insert, ret=" + std::to_string(OHOS::NativeRdb::E_SQLITE_CONSTRAINT)),
            1u);
    }
    EXPECT_EQ(TableRows(), before);

    // The store is not left inside a transaction: another connection can write, and the next add
    // commits where the other connection sees it.
    ASSERT_EQ(other->ExecuteSql("DROP TRIGGER fail_insert"), OHOS::NativeRdb::E_OK);
    ASSERT_TRUE(Service().AddPolicy({Info("com.b", {{"p", 7}}, 3, "newer")}));
    EXPECT_EQ(TableRows().count("com.b/p=7 (newer,3)"), 1u);
    EXPECT_EQ(TableRows().size(), 3u);
}

TEST_F(GTokenPolicyFailureTest, AStoreThatFailsToDeleteStopsTheAdd)
{
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{"p", 1}}), Info("com.b", {{"p", 2}})}));
    const auto before = TableRows();
    auto other = OpenSecondConnection();
    ASSERT_NE(other, nullptr);

    // A delete refused by the store: the removal stops at the failing bundle and the add fails
    // with nothing changed, though com.a's rows had been deleted inside the transaction.
    ASSERT_EQ(other->ExecuteSql("CREATE TRIGGER fail_delete BEFORE DELETE ON gtoken_policy WHEN OLD.bundle_name = "
                                "'com.b' BEGIN SELECT RAISE(ABORT, 'injected'); END"),
        OHOS::NativeRdb::E_OK);
    {
        LogCapture capture;
        EXPECT_FALSE(Service().AddPolicy({Info("com.a", {{"p", 5}}), Info("com.b", {{"p", 6}})}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "failed to delete bundle=com.b, ret="), 1u);
        EXPECT_EQ(capture.Count("end gtoken RemovePolicy"), 0u);
        EXPECT_EQ(capture.Count("fail to Insert"), 0u);
    }
    EXPECT_EQ(TableRows(), before);
    // A plain removal outside an add keeps what it deleted before the failure.
    EXPECT_FALSE(Service().RemovePolicy({"com.a", "com.b"}));
    EXPECT_EQ(TableRows(), (std::set<std::string>{"com.b/p=2 (fp-com.b,1)"}));
    ASSERT_EQ(other->ExecuteSql("DROP TRIGGER fail_delete"), OHOS::NativeRdb::E_OK);
}

// A row that another writer left in a shape the record cannot hold is passed over with a warning:
// the other rows still answer, the read still succeeds, and an add replaces the odd row.
TEST_F(GTokenPolicyFailureTest, AnUnreadableRowIsSkippedAndItsBundleCanBeReplaced)
{
    const char* const oddRows[] = {
        "('com.c', 'fp', 'not a number', 'malicious-app', 0)",  // version code
        "('com.c', 'fp', 1, 'malicious-app', 2.5)",             // policy value not whole
        "('com.c', 'fp', 1, 'malicious-app', 4294967296)",      // policy value beyond 32 bits
        "('com.c', X'00ff', 1, 'malicious-app', 0)",            // finger print not text
    };
    Install("com.a");
    for (const char* oddRow : oddRows) {
        SCOPED_TRACE(oddRow);
        ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 0}, {"p", 1}})}));
        auto other = OpenSecondConnection();
        ASSERT_NE(other, nullptr);
        ASSERT_EQ(other->ExecuteSql(std::string("INSERT INTO gtoken_policy VALUES ") + oddRow), OHOS::NativeRdb::E_OK);
        {
            LogCapture capture;
            for (const auto& bundles : {std::vector<std::string>{}, std::vector<std::string>{"com.a", "com.c"}}) {
                const auto answer = Service().GetPolicy(MALICIOUS, bundles);
                EXPECT_EQ(answer.ret, OHOS::NativeRdb::E_OK);
                EXPECT_THAT(Values(answer), ElementsAre("com.a:0"));
            }
            EXPECT_EQ(capture.Count(LOG_WARN, "skip policy row 1 that does not read, ret=" +
                                                  std::to_string(OHOS::NativeRdb::E_INVALID_COLUMN_TYPE)),
                2u);
            EXPECT_EQ(capture.Count(LOG_INFO, "end gtoken GetPolicy"), 2u);
        }
        // The add reads the bundle's old rows through the same path and goes on to replace them.
        ASSERT_TRUE(Service().AddPolicy({Info("com.c", {{"p", 5}})}));
        EXPECT_EQ(TableRows(), (std::set<std::string>{"com.a/malicious-app=0 (fp-com.a,1)", "com.a/p=1 (fp-com.a,1)",
                                   "com.c/p=5 (fp-com.c,1)"}));
        EXPECT_THAT(Values(Service().GetPolicy("p", {})), ElementsAre("com.a:1", "com.c:5"));
        ASSERT_TRUE(Service().RemovePolicy({"com.a", "com.c"}));
    }
}

}  // namespace
}  // namespace AspTest
