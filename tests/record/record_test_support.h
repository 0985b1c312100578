#ifndef TESTS_RECORD_RECORD_TEST_SUPPORT_H
#define TESTS_RECORD_RECORD_TEST_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "message/message_broker.h"
#include "message/message_broker_proxy.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/privacy/privacy_record_service.h"
#include "tests/support/device_reset.h"

namespace AspTest {

namespace Record = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record;
namespace Model = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model;
namespace Message = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message;

// Builds a query field by field: Query().Users({100}).Modes({0}).Range(0, 1000).Get().
class Query {
public:
    Query()
    {
        query_.SetUserIds({100});
        query_.SetOperationModes({0});
    }
    // clang-format off
    Query& Users(const std::vector<int32_t>& v) { query_.SetUserIds(v); return *this; }
    Query& Bundles(const std::vector<std::string>& v) { query_.SetBundleNames(v); return *this; }
    Query& Groups(const std::vector<std::string>& v) { query_.SetOperationGroups(v); return *this; }
    Query& Modes(const std::vector<int32_t>& v) { query_.SetOperationModes(v); return *this; }
    Query& AppStates(const std::vector<int32_t>& v) { query_.SetAppStates(v); return *this; }
    Query& ScreenStates(const std::vector<int32_t>& v) { query_.SetScreenStates(v); return *this; }
    Query& Limit(int32_t v) { query_.SetLimit(v); return *this; }
    Query& Order(int32_t v) { query_.SetOrder(v); return *this; }
    // clang-format on
    Query& Range(int64_t begin, int64_t end)
    {
        query_.SetBeginTimestamp(begin);
        query_.SetEndTimestamp(end);
        return *this;
    }
    const Record::PermissionUsageRecordQuery& Get() const { return query_; }
    operator const Record::PermissionUsageRecordQuery&() const { return query_; }  // NOLINT

private:
    Record::PermissionUsageRecordQuery query_;
};

// A record as a comparable tuple: bundle, uid, group, times, mode, app state, screen state, begin, end.
using RecordTuple = std::tuple<std::string, int32_t, std::string, int32_t, int32_t, int32_t, int32_t, int64_t, int64_t>;

inline RecordTuple AsTuple(const Record::PermissionUsageRecord& r)
{
    return {r.GetBundleName(), r.GetUid(), r.GetOperationGroup(), r.GetTimes(), r.GetOperationMode(), r.GetAppState(),
        r.GetScreenState(), r.GetBeginTimestamp(), r.GetEndTimestamp()};
}

// The records as tuples, sorted: for answers whose order is not promised.
inline std::vector<RecordTuple> Sorted(const std::vector<Record::PermissionUsageRecord>& records)
{
    std::vector<RecordTuple> tuples;
    for (const auto& r : records) {
        tuples.push_back(AsTuple(r));
    }
    std::sort(tuples.begin(), tuples.end());
    return tuples;
}

inline std::vector<RecordTuple> Sorted(std::vector<RecordTuple> tuples)
{
    std::sort(tuples.begin(), tuples.end());
    return tuples;
}

// A device with users 0, 100 and 101, on which tests install apps and record their uses.
class RecordDeviceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ResetDevice();
        ASSERT_TRUE(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().AddUser(101));
    }
    void TearDown() override
    {
        Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr);
        ResetDevice();
    }

    static OHOS::AppExecFwk::Host::InstalledBundle Install(const std::string& bundleName, int32_t userId,
        const std::vector<std::string>& permissions, const std::string& entityType = "unspecified")
    {
        OHOS::AppExecFwk::Host::InstallParams params;
        params.bundleName = bundleName;
        params.userId = userId;
        params.entityType = entityType;
        for (const auto& name : permissions) {
            params.permissions.push_back({name, 0, 0});
        }
        OHOS::AppExecFwk::Host::InstalledBundle installed;
        EXPECT_EQ(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &installed), 0)
            << bundleName << " for user " << userId;
        return installed;
    }

    struct Use {
        std::string permission;
        int64_t timestamp = 0;
        int32_t success = 1;
        int32_t fail = 0;
        int32_t appState = 1;     // foreground
        int32_t screenState = 1;  // unlocked
        OHOS::Security::AccessToken::PermissionUsedType type = OHOS::Security::AccessToken::NORMAL_TYPE;
    };

    static void AddUse(const OHOS::AppExecFwk::Host::InstalledBundle& bundle, const Use& use)
    {
        OHOS::Security::AccessToken::Host::UsageRecord record;
        record.tokenId = bundle.tokenId;
        record.permissionName = use.permission;
        record.timestamp = use.timestamp;
        record.successCount = use.success;
        record.failCount = use.fail;
        record.status = use.appState;
        record.lockScreenStatus = use.screenState;
        record.type = use.type;
        ASSERT_EQ(OHOS::Security::AccessToken::Host::PrivacyRecordService::GetInstance().AddRecord(record), 0)
            << bundle.bundleName << " " << use.permission;
    }
};

// Plays the container's side of the broker: remembers every request and answers with `answer`.
class FakeContainer : public Message::MessageBroker {
public:
    struct Request {
        std::string path;
        std::string action;
        Model::Query<std::string> query;
    };

    explicit FakeContainer(Model::Result<std::string> answer) : answer_(std::move(answer)) {}

    Model::Result<std::string> Send(
        const std::string& path, const std::string& action, const Model::Query<std::string>& query) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back({path, action, query});
        return answer_;
    }
    int RegisterReceiver(const std::string&, const std::shared_ptr<Message::MessageReceiverProxy>&) override
    {
        return 0;
    }
    int UnregisterReceiver(const std::string&) override { return 0; }

    std::vector<Request> Requests() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }

private:
    mutable std::mutex mutex_;
    Model::Result<std::string> answer_;
    std::vector<Request> requests_;
};

}  // namespace AspTest

#endif  // TESTS_RECORD_RECORD_TEST_SUPPORT_H
