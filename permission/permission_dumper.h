#ifndef PERMISSION_PERMISSION_DUMPER_H
#define PERMISSION_PERMISSION_DUMPER_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/dump_able.h"
#include "permission/permission_management_intf.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

// The permission module's dump, reached as `hidumper -s 65993 -a "permission <command> ..."`. The
// module manager hands the arguments over as they came, so args[0] is the module's name and the
// command is args[1]:
//
//   get-by-app BUNDLE_NAME USER_ID [PERMISSION_GROUP ...]       (no group named: every group)
//   get-by-permission PERMISSION_GROUP USER_ID [BUNDLE_NAME ...]  (no bundle named: every bundle of
//                                                                  the user)
//
// Each group found prints its GetHumanReadableStrings lines, and a last line counts them. A user
// id that is not a non-negative decimal number, or a group name that is not ours, prints one error
// line and nothing else; anything else prints the usage. Each line is one "%s\n" write.
//
// The listings go through `management` (the permission module), so a dump sees what a client
// sees: the same validation and the same choice of back-end per app. `management` must outlive
// the dumper.
class PermissionDumper : public Module::DumpAble {
public:
    explicit PermissionDumper(PermissionManagementIntf& management) : management_(management) {}

    void Dump(int fd, const std::vector<std::string>& args) override;
    void PrintUsage(int fd) const override;

private:
    void DumpByApp(int fd, const std::vector<std::string>& args);
    void DumpByPermission(int fd, const std::vector<std::string>& args);
    static void WriteGroups(int fd, const PermissionManagementIntf::AppPermissionGroupPtrs& appPermissionGroupPtrs);
    // The user id of the argument, or empty after the error line.
    static std::optional<int32_t> ParseUserId(int fd, const std::string& text);
    // The group of that name, or empty after the error line.
    static std::optional<PermissionGroup> ParsePermissionGroup(int fd, const std::string& name);

    PermissionManagementIntf& management_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_PERMISSION_DUMPER_H
