#include "permission/permission_dumper.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <unordered_set>

#include "framework/enum_object.h"
#include "permission/permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

const std::string COMMAND_GET_BY_APP = "get-by-app";
const std::string COMMAND_GET_BY_PERMISSION = "get-by-permission";
// args[0] is the module's name, args[1] the command, then its two fixed arguments.
constexpr size_t COMMAND_INDEX = 1;
constexpr size_t FIRST_ARGUMENT_INDEX = 2;
constexpr size_t USER_ID_INDEX = 3;
constexpr size_t FIRST_OPTIONAL_INDEX = 4;

std::string AllPermissionGroupNames()
{
    std::string names;
    for (const auto& permissionGroup : PermissionGroup::VALUES) {
        if (!names.empty()) {
            names += ", ";
        }
        names += permissionGroup.GetName();
    }
    return names;
}

}  // namespace

void PermissionDumper::Dump(int fd, const std::vector<std::string>& args)
{
    if (fd < 0) {
        return;
    }
    if (args.size() > COMMAND_INDEX && args[COMMAND_INDEX] == COMMAND_GET_BY_APP && args.size() > USER_ID_INDEX) {
        DumpByApp(fd, args);
        return;
    }
    if (args.size() > COMMAND_INDEX && args[COMMAND_INDEX] == COMMAND_GET_BY_PERMISSION &&
        args.size() > USER_ID_INDEX) {
        DumpByPermission(fd, args);
        return;
    }
    PrintUsage(fd);
}

void PermissionDumper::PrintUsage(int fd) const
{
    WriteLine(fd, "Usage: permission <command> [arguments]");
    WriteLine(fd, "  " + COMMAND_GET_BY_APP + " BUNDLE_NAME USER_ID [PERMISSION_GROUP ...]");
    WriteLine(fd, "      the app's permission groups; every group when none is named");
    WriteLine(fd, "  " + COMMAND_GET_BY_PERMISSION + " PERMISSION_GROUP USER_ID [BUNDLE_NAME ...]");
    WriteLine(fd, "      the permission group of the named apps; every app of the user when none is named");
    WriteLine(fd, "  PERMISSION_GROUP: " + AllPermissionGroupNames());
}

void PermissionDumper::DumpByApp(int fd, const std::vector<std::string>& args)
{
    const auto userId = ParseUserId(fd, args[USER_ID_INDEX]);
    if (!userId.has_value()) {
        return;
    }
    Model::EnumSet<PermissionGroup> permissionGroups;
    for (size_t i = FIRST_OPTIONAL_INDEX; i < args.size(); ++i) {
        const auto permissionGroup = ParsePermissionGroup(fd, args[i]);
        if (!permissionGroup.has_value()) {
            return;
        }
        permissionGroups.insert(*permissionGroup);
    }
    if (permissionGroups.empty()) {
        permissionGroups.insert(PermissionGroup::VALUES.begin(), PermissionGroup::VALUES.end());
    }
    WriteGroups(fd, management_.GetAppPermissionGroupsByApp(args[FIRST_ARGUMENT_INDEX], *userId, permissionGroups));
}

void PermissionDumper::DumpByPermission(int fd, const std::vector<std::string>& args)
{
    const auto permissionGroup = ParsePermissionGroup(fd, args[FIRST_ARGUMENT_INDEX]);
    if (!permissionGroup.has_value()) {
        return;
    }
    const auto userId = ParseUserId(fd, args[USER_ID_INDEX]);
    if (!userId.has_value()) {
        return;
    }
    // None named: the module takes every bundle of the user.
    const std::unordered_set<std::string> bundleNames(args.begin() + FIRST_OPTIONAL_INDEX, args.end());
    WriteGroups(fd, management_.GetAppPermissionGroupsByPermission(*permissionGroup, *userId, bundleNames));
}

void PermissionDumper::WriteGroups(
    int fd, const PermissionManagementIntf::AppPermissionGroupPtrs& appPermissionGroupPtrs)
{
    size_t printed = 0;
    for (const auto& group : appPermissionGroupPtrs) {
        if (group == nullptr) {
            continue;
        }
        for (const auto& line : group->GetHumanReadableStrings()) {
            WriteLine(fd, line);
        }
        ++printed;
    }
    WriteLine(fd, "appPermissionGroups size=" + std::to_string(printed));
}

std::optional<int32_t> PermissionDumper::ParseUserId(int fd, const std::string& text)
{
    // Decimal digits only: "100abc", "+100", " 100" and "-1" are refused, not read in part.
    bool digitsOnly = !text.empty();
    for (const char c : text) {
        digitsOnly = digitsOnly && c >= '0' && c <= '9';
    }
    if (digitsOnly) {
        errno = 0;
        const long long value = std::strtoll(text.c_str(), nullptr, 10);
        if (errno == 0 && value <= std::numeric_limits<int32_t>::max()) {
            return static_cast<int32_t>(value);
        }
    }
    WriteLine(fd, "Invalid userId='" + text + "', it must be a non-negative decimal number.");
    return std::nullopt;
}

std::optional<PermissionGroup> PermissionDumper::ParsePermissionGroup(int fd, const std::string& name)
{
    auto permissionGroup = PermissionGroup::ConvertFromEnumName(name);
    if (!permissionGroup.has_value()) {
        WriteLine(fd, "Unknown permissionGroup='" + name + "', run without arguments to see the groups.");
    }
    return permissionGroup;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
