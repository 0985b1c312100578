/*
 * The dashboard's JSON answers, each made of the privacy service's own requests sent through the
 * interface's proxy from this process, which runs as the settings app: the dashboard can show no
 * more than that app is shown, and a refusal is the service's own, passed on with the reason a
 * person can act on (the daemon not reached, 201 with the permission named, 202, 401, a state the
 * group does not offer or has disabled).
 *
 * One PrivacyApi serves every HTTP thread at once: it holds one connection to the daemon, on which
 * requests take turns, and nothing else that changes.
 */
#ifndef DASHBOARD_PRIVACY_API_H
#define DASHBOARD_PRIVACY_API_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "interfaces/security_privacy_service_proxy.h"
#include "tools/app_identity.h"
#include "tools/tool_context.h"

namespace OHOS::Host::Dashboard {

struct ApiAnswer {
    int status = 200;  // the HTTP status: 200, 400, 403 refused, 404, 409 not applied, 502 no service
    nlohmann::json body;

    static ApiAnswer Error(int status, const std::string& message, int32_t code = 0);
};

// A usage request as the page asks for it.
struct UsageAsk {
    bool timeline = true;  // else the summary
    int32_t userId = 100;
    std::string bundleName;           // empty: every app
    std::vector<std::string> groups;  // operation groups; empty: all
    int32_t operationMode = 0;        // 0 allowed, -1 rejected
    std::vector<int32_t> appStates;
    std::vector<int32_t> screenStates;
    int64_t beginMs = 0;
    int64_t endMs = 0;
    // Timeline: 0 asks for every record of the range, however many (see Usage), else the newest
    // (or oldest) `limit`, as the service cuts them.
    int32_t limit = 0;
    int32_t order = 0;  // 1 oldest first, else newest first
};

class PrivacyApi {
public:
    // The most records one timeline request answers; a fuller range is asked for in halves.
    static constexpr int32_t SERVICE_TIMELINE_MAX = 500;
    // The most requests one whole-range timeline may send before it answers what it has.
    static constexpr int MAX_TIMELINE_REQUESTS = 64;

    // `context` must outlive the api. `caller` is who this process speaks as (learnt before the
    // switch to its uid), used to explain answers that the service gives without a code.
    PrivacyApi(const Tools::ToolContext& context, Tools::CallerFacts caller);

    // Who the dashboard speaks as and the service's vocabularies, for the pages' controls.
    ApiAnswer Meta(int32_t userId) const;
    // Every app of the user that requests a permission group, with each group's checked state:
    // the groups' lists merged, since the settings app has no request that lists apps.
    ApiAnswer Apps(int32_t userId) const;
    ApiAnswer AppGroups(const std::string& bundleName, int32_t userId) const;
    ApiAnswer GroupApps(const std::string& group, int32_t userId) const;
    // 200 {"applied": true}, or 409 {"applied": false, "refusal": why} when the service did not
    // apply it: the group's offered and disabled states are read back to say which it was.
    ApiAnswer SetState(const std::string& bundleName, int32_t userId, const std::string& group,
        const std::string& state, bool userFixed) const;
    // {"records": [...], "complete": bool}. A timeline with limit 0 covers the whole range: a
    // range that fills one answer is asked for again in two halves, down to single milliseconds,
    // at most MAX_TIMELINE_REQUESTS requests; "complete" is false when that was not enough.
    ApiAnswer Usage(const UsageAsk& ask) const;
    // The bundles' values of one policy; a "malicious-app" row of value 1 is the bundle's disposed
    // status, which the service handed to the bundle manager.
    ApiAnswer GTokenPolicy(const std::string& policyName, const std::vector<std::string>& bundleNames) const;

    static bool IsGroupName(const std::string& name);
    static bool IsStateName(const std::string& name);
    static bool IsOperationGroupName(const std::string& name);

private:
    using Proxy = AppSecurityPrivacy::SecurityPrivacyServer::SecurityPrivacyServiceProxy;

    // The answer for a request the service did not answer (this thread's last request), or empty.
    std::optional<ApiAnswer> Unanswered(uint32_t code) const;
    // The answer for a method's refusal code (201, 202, 401, another).
    ApiAnswer Refused(uint32_t code, int32_t result) const;
    // For an empty list or false, which the service also answers to a caller it refuses: the
    // refusal the caller's facts explain, or empty when they explain nothing.
    std::optional<ApiAnswer> ExplainEmpty(uint32_t code, const std::string& permission) const;
    // Why the service did not apply `state`, read from the group as the service now shows it.
    std::string WhyNotApplied(
        const std::string& bundleName, int32_t userId, const std::string& group, const std::string& state) const;
    // Appends the timeline of [beginMs, endMs) to `records`, oldest first; the service's code, or
    // -1 after a failed request (whose answer is then in `failure`).
    int32_t CollectTimeline(const UsageAsk& ask, int64_t beginMs, int64_t endMs,
        std::vector<AppSecurityPrivacy::SecurityPrivacyServer::Record::PermissionUsageRecord>& records, int& budget,
        bool& complete, std::optional<ApiAnswer>& failure) const;

    const Tools::ToolContext& context_;
    const Tools::CallerFacts caller_;
    sptr<Transport::SocketRemoteObject> remote_;
    sptr<Proxy> proxy_;
};

}  // namespace OHOS::Host::Dashboard

#endif  // DASHBOARD_PRIVACY_API_H
