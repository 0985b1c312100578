/*
 * How the container's runtime permissions read as the privacy service's permission groups, and
 * what a state the user picks in the settings screen does to them. The container decides its apps'
 * states here; the service only shows them (permission/ovra).
 *
 * Group kinds, by the permissions of the group that the app requested:
 *   LOCATION      foreground (fine, coarse) and background. ALLOW_ALL_THE_TIME when both are
 *                 granted, ALLOW_ONLY_WHILE_IN_USE when the foreground is, ASK_EACH_TIME when not
 *                 granted and one-time, else DENY. Offers all the time only with a background
 *                 permission; a background permission without a foreground one cannot be changed
 *                 (INVALID_REQUEST_PERMISSIONS_COMBINATION).
 *   CAMERA, MICROPHONE   ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY.
 *   STORAGE       ALLOW_MANAGEMENT_OF_ALL_FILES (with the all-files permission), MEDIA_ONLY, DENY.
 *   every other   ALLOW, DENY.
 * A group whose permissions are all policy- or system-fixed offers nothing that can be picked
 * (POLICY_OR_SYSTEM_FIXED). Group flags: 1 when a permission is user-set, 2 when one is user-fixed.
 */
#ifndef CONTAINER_GROUP_STATE_MODEL_H
#define CONTAINER_GROUP_STATE_MODEL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "container/container_store.h"

namespace OHOS::Ovra::Container {

// One group as the service is told it, by the service's names.
struct GroupView {
    std::string group;
    std::string checkedState;
    std::vector<std::string> shownStates;
    std::vector<std::string> disabledStates;
    std::string disabledReason = "NONE";
    int64_t flags = 0;
};

class GroupStateModel {
public:
    // The app's groups, in the order of the service's group vocabulary.
    static std::vector<GroupView> GroupsOf(const ContainerApp& app);
    // Empty when the app requests no permission of `group`.
    static std::optional<GroupView> GroupOf(const ContainerApp& app, const std::string& group);

    // The group's permissions as they are once the user picked `state`, with the user-set and
    // user-fixed bits of `flagsMask` taken from `flagsValue` (other bits of the mask are ignored).
    // Fixed permissions keep what they have. Empty, with `why` set, when the app does not request
    // the group or the state is not offered or cannot be picked.
    static std::optional<std::vector<AppPermission>> Apply(const ContainerApp& app, const std::string& group,
        const std::string& state, int64_t flagsMask, int64_t flagsValue, std::string& why);
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_GROUP_STATE_MODEL_H
