#ifndef TESTS_POLICY_GTOKEN_POLICY_TEST_SUPPORT_H
#define TESTS_POLICY_GTOKEN_POLICY_TEST_SUPPORT_H

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "interfaces/gtoken_info.h"
#include "interfaces/gtoken_result_with_ret.h"
#include "platform/base/data_root.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/fault/fault_injection.h"
#include "platform/hilog/hilog_host.h"
#include "policy/gtoken_policy_manager_service.h"
#include "rdb_errno.h"
#include "rdb_helper.h"
#include "rdb_open_callback.h"
#include "rdb_predicates.h"
#include "rdb_store.h"
#include "tests/support/device_reset.h"

namespace AspTest {

using OHOS::AppExecFwk::Host::AppControlService;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::AppExecFwk::Host::DisposedStatusCall;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenInfo;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenPolicy;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenPolicyManagerService;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenResult;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenResultWithRet;

inline const std::string MALICIOUS = "malicious-app";
inline const std::string DEVICE_DB_PATH = "/data/service/el1/public/database/gtoken_policy/gtoken_policy.db";

// One app-control call as the tests compare them: "SET <appId>@<user>" or "DELETE <appId>@<user>".
inline std::string CallText(const DisposedStatusCall& call)
{
    return std::string(call.operation == DisposedStatusCall::Operation::SET ? "SET " : "DELETE ") + call.appId + "@" +
           std::to_string(call.userId);
}

// A second connection on a store file, as another process (or the service after a restart) sees it.
class PlainCallback : public OHOS::NativeRdb::RdbOpenCallback {
public:
    int OnCreate(OHOS::NativeRdb::RdbStore&) override { return OHOS::NativeRdb::E_OK; }
    int OnUpgrade(OHOS::NativeRdb::RdbStore&, int, int) override { return OHOS::NativeRdb::E_OK; }
};

// Every test runs on a fresh device in a data root of its own: no bundles, no statuses, no faults,
// and the policy store opened anew on an empty file under that root.
class GTokenPolicyTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "asp_gtoken_XXXXXX").string();
        const char* made = mkdtemp(pattern.data());
        ASSERT_NE(made, nullptr);
        root_ = made;
        OHOS::Host::DataRoot::Set(root_);
        ResetDevice();
        Service().ResetForTest();
        Service().Init();
    }

    void TearDown() override
    {
        Service().ResetForTest();
        ResetDevice();
        OHOS::Host::DataRoot::Set("");
        std::error_code error;
        std::filesystem::remove_all(root_, error);
    }

    static GTokenPolicyManagerService& Service() { return GTokenPolicyManagerService::GetInstance(); }

    std::string DbFile() const { return OHOS::Host::DataRoot::Resolve(DEVICE_DB_PATH); }

    // Installs the bundle for `userId` and answers its app id.
    static std::string Install(const std::string& bundleName, int32_t userId = 100)
    {
        OHOS::AppExecFwk::Host::InstallParams params;
        params.bundleName = bundleName;
        params.userId = userId;
        OHOS::AppExecFwk::Host::InstalledBundle installed;
        EXPECT_EQ(BundleManagerService::GetInstance().Install(params, &installed), OHOS::ERR_OK) << bundleName;
        EXPECT_FALSE(installed.appId.empty());
        return installed.appId;
    }

    static std::vector<std::string> AppControlCalls()
    {
        std::vector<std::string> calls;
        for (const auto& call : AppControlService::GetInstance().GetCallLog()) {
            calls.push_back(CallText(call));
        }
        return calls;
    }

    // The app ids whose disposed status is set, with their user: "<appId>@<user>".
    static std::set<std::string> DisposedApps()
    {
        std::set<std::string> apps;
        for (const auto& status : AppControlService::GetInstance().ListDisposedStatuses()) {
            apps.insert(status.appId + "@" + std::to_string(status.userId));
        }
        return apps;
    }

    // Every row of the table, read through a connection of its own: "bundle/policy=value
    // (fingerPrint,versionCode)", sorted.
    std::set<std::string> TableRows() const
    {
        auto store = OpenSecondConnection();
        std::set<std::string> rows;
        if (store == nullptr) {
            ADD_FAILURE() << "cannot open " << DbFile();
            return rows;
        }
        auto resultSet = store->QuerySql(
            "SELECT bundle_name, policy_name, policy_value, finger_print, version_code FROM gtoken_policy");
        if (resultSet == nullptr) {
            ADD_FAILURE() << "cannot read the table";
            return rows;
        }
        while (resultSet->GoToNextRow() == OHOS::NativeRdb::E_OK) {
            std::string bundle;
            std::string policy;
            std::string print;
            int value = 0;
            int version = 0;
            resultSet->GetString(0, bundle);
            resultSet->GetString(1, policy);
            resultSet->GetInt(2, value);
            resultSet->GetString(3, print);
            resultSet->GetInt(4, version);
            rows.insert(bundle + "/" + policy + "=" + std::to_string(value) + " (" + print + "," +
                        std::to_string(version) + ")");
        }
        return rows;
    }

    std::shared_ptr<OHOS::NativeRdb::RdbStore> OpenSecondConnection() const
    {
        OHOS::NativeRdb::RdbStoreConfig config(DbFile());
        PlainCallback callback;
        int errCode = OHOS::NativeRdb::E_OK;
        return OHOS::NativeRdb::RdbHelper::GetRdbStore(config, 1, callback, errCode);
    }

    // "bundle:value" of each result, in the answer's order.
    static std::vector<std::string> Values(const GTokenResultWithRet& answer)
    {
        std::vector<std::string> values;
        for (const auto& row : answer.results) {
            values.push_back(row.bundleName + ":" + std::to_string(row.policyValue));
        }
        return values;
    }

    // The message text of each line of this store (module tag "GToken"), without the prefix
    // "[component][module][file:line] function: ".
    static std::vector<std::string> StoreLines(const OHOS::HiviewDFX::Host::LogCapture& capture)
    {
        std::vector<std::string> lines;
        for (const auto& message : capture.Messages()) {
            if (message.rfind("[QRV][GToken][", 0) != 0) {
                continue;
            }
            const size_t location = message.find("] ", message.find("[GToken]") + 8);
            const size_t text = location == std::string::npos ? location : message.find(": ", location + 2);
            lines.push_back(text == std::string::npos ? message : message.substr(text + 2));
        }
        return lines;
    }

    std::string root_;
};

inline GTokenInfo Info(const std::string& bundle, std::vector<GTokenPolicy> policies, int32_t versionCode = 1,
    const std::string& fingerPrint = "")
{
    return GTokenInfo(bundle, fingerPrint.empty() ? "fp-" + bundle : fingerPrint, versionCode, std::move(policies));
}

}  // namespace AspTest

#endif  // TESTS_POLICY_GTOKEN_POLICY_TEST_SUPPORT_H
