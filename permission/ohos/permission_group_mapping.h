#ifndef PERMISSION_OHOS_PERMISSION_GROUP_MAPPING_H
#define PERMISSION_OHOS_PERMISSION_GROUP_MAPPING_H

#include <atomic>
#include <initializer_list>

#include "framework/enum_object.h"
#include "permission/ohos/permission.h"
#include "permission/permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Which platform permissions make up a permission group for native apps. A group without an entry
// has no native permissions, so a native app never shows it. A permission may belong to several
// groups (READ_CONTACTS is in CONTACTS and in READ_CONTACT).
//
// The table is filled on first use, once, under its own lock, and never changed afterwards; reads
// after the fill take no lock and copy nothing.
class PermissionGroupMapping {
public:
    using PermissionGroup = SecurityPrivacyServer::Permission::PermissionGroup;
    using PermissionSet = Model::EnumSet<Permission>;

    static PermissionGroupMapping& GetInstance();

    PermissionGroupMapping(const PermissionGroupMapping&) = delete;
    PermissionGroupMapping& operator=(const PermissionGroupMapping&) = delete;

    // The group's permissions, in no particular order; empty for a group without native
    // permissions. The set lives as long as the process.
    const PermissionSet& GetMappingPermissions(const PermissionGroup& group);

private:
    PermissionGroupMapping() = default;
    ~PermissionGroupMapping() = default;

    void InitializeMapping();
    // The three steps below run with the fill lock held.
    // Groups that native and container apps both have.
    void InitializeCommonPermissionGroupMappingLocked();
    // Groups only native apps have.
    void InitializeOhosOnlyPermissionGroupMappingLocked();
    // Groups split into reading and writing.
    void InitializeReadAndWritePermissionGroupMappingLocked();
    // Keeps an entry already present unchanged.
    void AddMappingLocked(const PermissionGroup& group, std::initializer_list<Permission> permissions);

    Model::EnumMap<PermissionGroup, PermissionSet> mapping_;
    // Set, with release order, once mapping_ is complete: from then on readers skip the lock.
    std::atomic<bool> filled_{false};
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_PERMISSION_GROUP_MAPPING_H
