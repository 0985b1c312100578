/*
 * What a new container holds, read from the device profile (profiles/default_device.json): the
 * container apps are the profile's bundles whose entity type is "1" (their users and app index give
 * their uids, as the device's installer gives them), and the profile's "container" member gives
 * each one its runtime permissions in the container's terms and patterns of use:
 *
 *   "container": {
 *     "seed": 7788,
 *     "apps": [{"bundle": "com.example.ovra.chat",
 *               "permissions": [{"name": "android.permission.CAMERA", "granted": true,
 *                                "flags": ["USER_SET"]}]}],
 *     "usage": [{"bundle": "com.example.ovra.chat", "user": 100,
 *                "permission": "android.permission.CAMERA", "records_per_day": 3, "days_back": 21,
 *                "hours": [8, 23], "foreground_ratio": 0.9, "locked_ratio": 0.05,
 *                "reject_ratio": 0.02, "duration_ms": 45000}]}
 *
 * The uses are drawn from the seed, so one profile always gives the same history (relative to the
 * time of seeding).
 */
#ifndef CONTAINER_CONTAINER_PROFILE_H
#define CONTAINER_CONTAINER_PROFILE_H

#include <cstdint>
#include <string>
#include <vector>

#include "container/container_store.h"

namespace OHOS::Ovra::Container {

class ContainerProfile {
public:
    // False with `error` naming the first thing that does not read. A profile without a
    // "container" member gives a container without apps.
    static bool Load(const std::string& path, ContainerProfile& profile, std::string& error);
    static bool Parse(const std::string& text, ContainerProfile& profile, std::string& error);

    const std::vector<ContainerApp>& Apps() const { return apps_; }
    // The uses of the patterns over the days before `nowMs`, oldest first.
    std::vector<UsageRecord> Usage(int64_t nowMs) const;

private:
    struct Pattern {
        std::string bundleName;
        int32_t userId = 0;
        std::string operationGroup;
        int32_t recordsPerDay = 0;
        int32_t daysBack = 0;
        int32_t firstHour = 0;
        int32_t lastHour = 23;
        double foregroundRatio = 1.0;
        double lockedRatio = 0.0;
        double rejectRatio = 0.0;
        int64_t durationMs = 0;
    };

    uint64_t seed_ = 7788;
    std::vector<ContainerApp> apps_;
    std::vector<Pattern> patterns_;
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_CONTAINER_PROFILE_H
