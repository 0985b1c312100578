/*
 * What every HTTP request to asp_dashboard passes before anything answers it. The dashboard listens
 * on loopback, but loopback is shared with every local user and every page the browser has open, so
 * reaching the port proves nothing:
 *   - the session token, random for each start and shown only to whoever started the dashboard,
 *     is the first segment of every path ("/s/<token>/..."), so that the pages' relative links
 *     carry it without cookies (which loopback ports would share);
 *   - Host must name the loopback address and port the dashboard listens on: a DNS name that a
 *     page rebinds to 127.0.0.1 arrives with its own name and is refused;
 *   - Origin, when a browser sends one, must be the dashboard's own, and a change (POST) must carry
 *     it and a JSON body, which no cross-site form can send without the browser asking first.
 * A refusal says only what a person who has the URL needs to fix; it never says whether a token
 * was close.
 */
#ifndef DASHBOARD_REQUEST_GUARD_H
#define DASHBOARD_REQUEST_GUARD_H

#include <cstdint>
#include <optional>
#include <string>

namespace OHOS::Host::Dashboard {

// The parts of a request the guard reads. Header values are empty when absent; the counts say how
// many times a header came (a second Host or Origin is refused, whatever it says).
struct RequestFacts {
    std::string method;
    std::string path;
    std::string host;
    size_t hostCount = 0;
    std::string origin;
    size_t originCount = 0;
    std::string contentType;
};

struct GuardDecision {
    int status = 200;    // 200: admitted; else the HTTP status of the refusal
    std::string reason;  // why not, for the refusal's body
    std::string rest;    // admitted: the path after "/s/<token>", starting with '/' (or empty)
};

class RequestGuard {
public:
    // `token` is the session's secret; `port` the one the dashboard listens on.
    RequestGuard(std::string token, uint16_t port);

    GuardDecision Check(const RequestFacts& request) const;

    // The prefix of every admitted path: "/s/<token>".
    std::string SessionPrefix() const { return "/s/" + token_; }
    // The origins a page of this dashboard has: "http://127.0.0.1:<port>" and "http://localhost:<port>".
    bool IsOwnOrigin(const std::string& origin) const;
    bool IsOwnHost(const std::string& host) const;

    // 32 bytes from the kernel's random source, as 64 hex digits; empty when the kernel gave none.
    static std::optional<std::string> NewToken();

private:
    // The token segment of `path` and what follows it; false when the path has no such segment.
    bool SplitSession(const std::string& path, std::string& token, std::string& rest) const;
    // Compares in time independent of where the first difference lies.
    static bool SameSecret(const std::string& given, const std::string& secret);

    std::string token_;
    std::string port_;
};

}  // namespace OHOS::Host::Dashboard

#endif  // DASHBOARD_REQUEST_GUARD_H
