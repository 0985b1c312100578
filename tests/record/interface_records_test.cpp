#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "parcel.h"
#include "tests/record/record_test_support.h"

namespace AspTest {
namespace {

using Record::PermissionUsageRecord;
using Record::PermissionUsageRecordQuery;

PermissionUsageRecordQuery FullQuery()
{
    PermissionUsageRecordQuery query;
    query.SetUserIds({101});
    query.SetBundleNames({"com.example.cam", ""});
    query.SetOperationGroups({"CAMERA", "READ_CALENDAR"});
    query.SetOperationModes({-1});
    query.SetAppStates({1, 2});
    query.SetScreenStates({2});
    query.SetBeginTimestamp(std::numeric_limits<int64_t>::min());
    query.SetEndTimestamp(1700000000123);
    query.SetLimit(42);
    query.SetOrder(1);
    return query;
}

PermissionUsageRecord FullRecord()
{
    PermissionUsageRecord record;
    record.SetBundleName("com.example.cam");
    record.SetUid(20010042);
    record.SetOperationGroup("CAMERA-SC");
    record.SetTimes(7);
    record.SetOperationMode(-1);
    record.SetAppState(2);
    record.SetScreenState(1);
    record.SetBeginTimestamp(1700000000000);
    record.SetEndTimestamp(std::numeric_limits<int64_t>::max());
    return record;
}

// Every strict prefix of `full` (in whole words) fails to unmarshal.
template <typename T>
void ExpectEveryPrefixRefused(const OHOS::Parcel& full)
{
    for (size_t size = 0; size < full.GetDataSize(); size += 4) {
        OHOS::Parcel cut;
        if (size > 0) {
            ASSERT_TRUE(cut.ParseFrom(full.GetData(), size));
        }
        std::unique_ptr<T> read(T::Unmarshalling(cut));
        EXPECT_EQ(read, nullptr) << "accepted a parcel cut to " << size << " of " << full.GetDataSize() << " bytes";
    }
}

TEST(PermissionUsageRecordQueryTest, RoundTripsThroughAParcelAndRefusesShortOrLyingData)
{
    const PermissionUsageRecordQuery query = FullQuery();
    OHOS::Parcel parcel;
    ASSERT_TRUE(query.Marshalling(parcel));
    std::unique_ptr<PermissionUsageRecordQuery> read(PermissionUsageRecordQuery::Unmarshalling(parcel));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, query);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    ExpectEveryPrefixRefused<PermissionUsageRecordQuery>(parcel);

    // A count far beyond what follows, for each list of the query in turn, is refused without
    // reserving room for it (under the address sanitizer a reservation of gigabytes would abort).
    for (int lyingList = 0; lyingList < 6; ++lyingList) {
        OHOS::Parcel lying;
        for (int list = 0; list < 6; ++list) {
            ASSERT_TRUE(lying.WriteInt32(list == lyingList ? std::numeric_limits<int32_t>::max() : 0));
        }
        ASSERT_TRUE(lying.WriteInt64(0));
        ASSERT_TRUE(lying.WriteInt64(0));
        ASSERT_TRUE(lying.WriteInt32(0));
        ASSERT_TRUE(lying.WriteInt32(0));
        std::unique_ptr<PermissionUsageRecordQuery> refused(PermissionUsageRecordQuery::Unmarshalling(lying));
        EXPECT_EQ(refused, nullptr) << "list " << lyingList;
    }
    // A negative count and a string longer than the parcel are refused as well.
    OHOS::Parcel negative;
    ASSERT_TRUE(negative.WriteInt32(-1));
    EXPECT_EQ(
        std::unique_ptr<PermissionUsageRecordQuery>(PermissionUsageRecordQuery::Unmarshalling(negative)), nullptr);
    OHOS::Parcel longString;
    ASSERT_TRUE(longString.WriteInt32(0));        // no users
    ASSERT_TRUE(longString.WriteInt32(1));        // one bundle name ...
    ASSERT_TRUE(longString.WriteInt32(1 << 30));  // ... of a gigabyte
    ASSERT_TRUE(longString.WriteString("abc"));
    EXPECT_EQ(
        std::unique_ptr<PermissionUsageRecordQuery>(PermissionUsageRecordQuery::Unmarshalling(longString)), nullptr);
}

TEST(PermissionUsageRecordTest, RoundTripsThroughAParcelAndRefusesShortData)
{
    const PermissionUsageRecord record = FullRecord();
    OHOS::Parcel parcel;
    ASSERT_TRUE(record.Marshalling(parcel));
    std::unique_ptr<PermissionUsageRecord> read(PermissionUsageRecord::Unmarshalling(parcel));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, record);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    // A default record keeps its defaults across the wire (uid -1, empty names).
    OHOS::Parcel defaults;
    ASSERT_TRUE(PermissionUsageRecord().Marshalling(defaults));
    std::unique_ptr<PermissionUsageRecord> readDefaults(PermissionUsageRecord::Unmarshalling(defaults));
    ASSERT_NE(readDefaults, nullptr);
    EXPECT_EQ(readDefaults->GetUid(), -1);
    EXPECT_EQ(*readDefaults, PermissionUsageRecord());

    ExpectEveryPrefixRefused<PermissionUsageRecord>(parcel);

    OHOS::Parcel lying;
    ASSERT_TRUE(lying.WriteInt32(std::numeric_limits<int32_t>::max()));  // bundle name length
    ASSERT_TRUE(lying.WriteString("com.example.cam"));
    EXPECT_EQ(std::unique_ptr<PermissionUsageRecord>(PermissionUsageRecord::Unmarshalling(lying)), nullptr);
}

TEST(PermissionUsageRecordTextTest, TextNamesEveryField)
{
    EXPECT_EQ(FullQuery().ToString(),
        "PermissionUsageRecordQuery{userIds=[101], bundleNames=['com.example.cam', ''], "
        "operationGroups=['CAMERA', 'READ_CALENDAR'], operationModes=[-1], appStates=[1, 2], screenStates=[2], "
        "beginTimestamp=-9223372036854775808, endTimestamp=1700000000123, limit=42, order=1}");
    EXPECT_EQ(PermissionUsageRecordQuery().ToString(),
        "PermissionUsageRecordQuery{userIds=[], bundleNames=[], operationGroups=[], operationModes=[], appStates=[], "
        "screenStates=[], beginTimestamp=0, endTimestamp=0, limit=0, order=0}");
    EXPECT_EQ(FullRecord().ToString(),
        "PermissionUsageRecord{bundleName='com.example.cam', uid=20010042, operationGroup='CAMERA-SC', times=7, "
        "operationMode=-1, appState=2, screenState=1, beginTimestamp=1700000000000, "
        "endTimestamp=9223372036854775807}");
}

}  // namespace
}  // namespace AspTest
