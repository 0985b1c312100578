/*
 * The JSON the container sends back through its broker, read the way the service reads it: parsed
 * with exceptions off, then converted by the records' from_json and looked at through
 * Util::JsonUtils. The container is another program; whatever it answers, nothing may throw, crash
 * or read outside the document.
 *
 * Input: the answer's text.
 *
 * Checked besides "no crash": every record read from the document and written back reads back to
 * the same record (a second trip changes nothing), and Util::JsonUtils answers what its header
 * promises for every member of every object of the document: a typed value exactly when the member
 * has that type, the matching elements of an array in order, an empty result for an array with a
 * stray element when strays are not skipped.
 */
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include <nlohmann/json.hpp>

#include "framework/json_utils.h"
#include "permission/ovra/dto/app_permission_group_dto.h"
#include "permission/ovra/dto/app_permission_groups_result_dto.h"
#include "permission/ovra/dto/checked_state_command_dto.h"
#include "permission/ovra/dto/checked_state_result_dto.h"
#include "permission/ovra/dto/dto_reader.h"
#include "permission/ovra/dto/groups_by_app_query_dto.h"
#include "permission/ovra/dto/groups_by_permission_query_dto.h"
#include "platform/hilog/hilog_host.h"
#include "record/ovra/record_dto.h"
#include "record/ovra/record_query_dto.h"
#include "record/ovra/record_result.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
namespace PermissionDto = Srv::Permission::Ovra::Dto;
namespace RecordDto = Srv::Record::Ovra::Dto;
using nlohmann::json;
using Srv::Util::JsonUtils;

// Objects below this depth are also read as records: the elements of "groups" and "records" are
// where the container's records sit, and a record may be anywhere an attacker puts it.
constexpr int MAX_DEPTH = 3;
// The members of one object whose JsonUtils answers are checked; the rest are only walked.
constexpr size_t MAX_KEYS_PER_OBJECT = 16;

// Reads `value` as a T, writes it back and reads that again: the two texts must be the same.
template <typename T>
void CheckRecordTrip(const json& value)
{
    T first{};
    from_json(value, first);
    json written;
    to_json(written, first);
    // Every string in a record came out of parsed text, so it is valid UTF-8 and dumps.
    const std::string text = written.dump();
    const json reparsed = json::parse(text, nullptr, false);
    FUZZ_CHECK(!reparsed.is_discarded());
    T second{};
    from_json(reparsed, second);
    json rewritten;
    to_json(rewritten, second);
    FUZZ_CHECK(rewritten == written);
}

void CheckRecords(const json& value)
{
    CheckRecordTrip<PermissionDto::AppPermissionGroupDto>(value);
    CheckRecordTrip<PermissionDto::AppPermissionGroupsResultDto>(value);
    CheckRecordTrip<PermissionDto::CheckedStateCommandDto>(value);
    CheckRecordTrip<PermissionDto::CheckedStateResultDto>(value);
    CheckRecordTrip<PermissionDto::GroupsByAppQueryDto>(value);
    CheckRecordTrip<PermissionDto::GroupsByPermissionQueryDto>(value);
    CheckRecordTrip<RecordDto::RecordDto>(value);
    CheckRecordTrip<RecordDto::RecordQueryDto>(value);
    CheckRecordTrip<RecordDto::RecordResult>(value);

    // A group read with a wrong-typed member names that member, and only members that are there.
    PermissionDto::AppPermissionGroupDto group;
    from_json(value, group);
    for (const std::string& key : group.mistypedKeys) {
        FUZZ_CHECK(value.is_object() && value.contains(key));
    }
    PermissionDto::AppPermissionGroupsResultDto groups;
    from_json(value, groups);
    if (!value.is_object() || !value.contains("groups") || !value.at("groups").is_array()) {
        FUZZ_CHECK(groups.groups.empty() && groups.skippedElements == 0);
    } else {
        FUZZ_CHECK(groups.groups.size() + groups.skippedElements == value.at("groups").size());
    }
}

bool IsInteger(const json& value)
{
    return value.is_number_integer();  // true for unsigned integers as well
}

template <typename T, typename Matches>
void CheckVectorOf(const json& object, const std::string& key, Matches matches)
{
    const std::vector<T> skipping = JsonUtils::GetVector<T, true>(object, key);
    const std::vector<T> strict = JsonUtils::GetVector<T, false>(object, key);
    const json& member = object.at(key);
    if (!member.is_array()) {
        FUZZ_CHECK(skipping.empty() && strict.empty());
        return;
    }
    size_t matching = 0;
    for (const json& element : member) {
        matching += matches(element) ? 1 : 0;
    }
    FUZZ_CHECK(skipping.size() == matching);
    if (matching == member.size()) {
        FUZZ_CHECK(strict == skipping);
    } else {
        FUZZ_CHECK(strict.empty());
    }
}

void CheckJsonUtils(const json& object, const std::string& key)
{
    const json& member = object.at(key);

    const auto text = JsonUtils::Get<std::string>(object, key);
    FUZZ_CHECK(text.has_value() == member.is_string());
    if (text.has_value()) {
        FUZZ_CHECK(*text == member.get_ref<const std::string&>());
    }
    const auto flag = JsonUtils::Get<bool>(object, key);
    FUZZ_CHECK(flag.has_value() == member.is_boolean());
    const auto narrow = JsonUtils::Get<int>(object, key);
    const auto wide = JsonUtils::Get<long>(object, key);
    FUZZ_CHECK(narrow.has_value() == IsInteger(member));
    FUZZ_CHECK(wide.has_value() == IsInteger(member));
    if (narrow.has_value()) {
        // The narrow form is the low 32 bits of the wide one.
        FUZZ_CHECK(static_cast<uint32_t>(*narrow) == static_cast<uint32_t>(static_cast<uint64_t>(*wide)));
    }

    CheckVectorOf<std::string>(object, key, [](const json& e) { return e.is_string(); });
    CheckVectorOf<int>(object, key, IsInteger);
    CheckVectorOf<long>(object, key, IsInteger);
    CheckVectorOf<bool>(object, key, [](const json& e) { return e.is_boolean(); });

    const std::unordered_set<std::string> set = JsonUtils::GetUnorderedSet<std::string>(object, key);
    const std::vector<std::string> strings = JsonUtils::GetVector<std::string, true>(object, key);
    FUZZ_CHECK(set.size() <= strings.size());
    for (const std::string& element : strings) {
        FUZZ_CHECK(set.count(element) == 1);
    }

    // Records inside arrays, as the service reads "groups" and "records".
    (void)JsonUtils::GetVector<RecordDto::RecordDto, true>(object, key);
    (void)JsonUtils::GetVector<PermissionDto::AppPermissionGroupDto, true>(object, key);
}

void CheckDtoReader(const json& object, const std::string& key)
{
    const json& member = object.at(key);
    PermissionDto::DtoReader reader(object);
    const auto text = reader.GetString(key.c_str());
    const auto flag = reader.GetBool(key.c_str());
    const auto narrow = reader.GetInt32(key.c_str());
    const auto wide = reader.GetInt64(key.c_str());
    const auto strings = reader.GetStrings(key.c_str());
    FUZZ_CHECK(text.has_value() == member.is_string());
    FUZZ_CHECK(flag.has_value() == member.is_boolean());
    if (narrow.has_value()) {
        FUZZ_CHECK(wide.has_value() && *wide == *narrow);
    }
    if (wide.has_value()) {
        FUZZ_CHECK(IsInteger(member));
    }
    if (strings.has_value()) {
        FUZZ_CHECK(member.is_array() && strings->size() == member.size());
    }
    // Every read that found the member but could not take it reports the member, once.
    const size_t failed = (text ? 0 : 1) + (flag ? 0 : 1) + (narrow ? 0 : 1) + (wide ? 0 : 1) + (strings ? 0 : 1);
    FUZZ_CHECK(reader.GetMistypedKeys().size() == failed);
    for (const std::string& mistyped : reader.GetMistypedKeys()) {
        FUZZ_CHECK(mistyped == key);
    }
}

void Walk(const json& value, int depth)
{
    CheckRecords(value);
    // Absent keys read as absent, whatever the value.
    FUZZ_CHECK(!JsonUtils::Get<std::string>(value, "\x01no such key").has_value());
    FUZZ_CHECK((JsonUtils::GetVector<int, true>(value, "\x01no such key").empty()));
    if (depth >= MAX_DEPTH) {
        return;
    }
    if (value.is_object()) {
        size_t checked = 0;
        for (auto it = value.begin(); it != value.end(); ++it) {
            if (checked++ < MAX_KEYS_PER_OBJECT) {
                CheckJsonUtils(value, it.key());
                CheckDtoReader(value, it.key());
            }
            Walk(it.value(), depth + 1);
        }
    } else if (value.is_array()) {
        for (const json& element : value) {
            Walk(element, depth + 1);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /* argc */, char*** /* argv */)
{
    // The readers warn about every mistyped member; the lines are formatted but not printed.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const json document = json::parse(text, nullptr, false);
    if (document.is_discarded()) {
        return 0;
    }
    Walk(document, 0);
    return 0;
}
