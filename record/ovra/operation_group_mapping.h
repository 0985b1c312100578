#ifndef RECORD_OVRA_OPERATION_GROUP_MAPPING_H
#define RECORD_OVRA_OPERATION_GROUP_MAPPING_H

#include <map>
#include <optional>
#include <string>

#include "record/permission_operation_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra {

// The container's names for operation groups ("ACTIVITY_RECOGNITION" is our SPORT, "SENSORS" our
// HEALTH, ...). Thirteen groups have a container name; the others (the split read/write groups,
// DOCUMENTS, ADS, ...) are never asked of the container.
//
// Filled once, when the singleton is first reached, and read-only afterwards, so any thread may
// look up without a lock.
class OperationGroupMapping {
public:
    static OperationGroupMapping& GetInstance();

    OperationGroupMapping(const OperationGroupMapping&) = delete;
    OperationGroupMapping& operator=(const OperationGroupMapping&) = delete;

    // The group a container name stands for; empty for a name the container is not known to use.
    std::optional<PermissionOperationGroup> GetPermissionOperationGroupByOvraOperationGroup(
        const std::string& containerName) const;
    // The container's name for a group (matched by ordinal); empty for a native-only group.
    std::optional<std::string> GetOvraOperationGroupByPermissionOperationGroup(
        const PermissionOperationGroup& group) const;

private:
    struct ByOrdinal {
        bool operator()(const PermissionOperationGroup& left, const PermissionOperationGroup& right) const
        {
            return left.GetOrdinal() < right.GetOrdinal();
        }
    };

    OperationGroupMapping();
    ~OperationGroupMapping() = default;

    // Fills both maps, unless they are filled already.
    void Init();
    void SetMapping(const std::string& containerName, const PermissionOperationGroup& group);

    std::map<std::string, std::string> groupNameByContainerName_;
    std::map<PermissionOperationGroup, std::string, ByOrdinal> containerNameByGroup_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra

#endif  // RECORD_OVRA_OPERATION_GROUP_MAPPING_H
