/*
 * asp_dashboard's HTTP side: a server on 127.0.0.1 that admits a request only through the
 * RequestGuard, answers the pages from WebAssets and the JSON API from PrivacyApi:
 *
 *   GET  /s/<token>/                      the single-page app (index.html), and its files
 *   GET  /s/<token>/api/meta              who the dashboard speaks as, the vocabularies
 *   GET  /s/<token>/api/apps?user=U       apps with their groups' states
 *   GET  /s/<token>/api/app?bundle=B&user=U
 *   GET  /s/<token>/api/group?group=G&user=U
 *   GET  /s/<token>/api/usage?view=timeline|summary&begin=MS&end=MS[&bundle=B][&group=G,...]
 *                              [&mode=allowed|rejected][&app=foreground,background]
 *                              [&screen=unlocked,locked][&limit=N][&order=oldest|newest][&user=U]
 *   GET  /s/<token>/api/gtoken?policy=P[&bundle=B,...]
 *   POST /s/<token>/api/set               {"bundleName", "userId", "permissionGroup",
 *                                          "checkedState", "userFixed"}: the one change
 *
 * Every answer forbids caching, framing, sniffing and referrers, and the pages may load nothing
 * that is not the dashboard's own. Connections are bounded in time (a few seconds of silence ends
 * one) and requests in size, and a few threads serve them all.
 */
#ifndef DASHBOARD_DASHBOARD_SERVER_H
#define DASHBOARD_DASHBOARD_SERVER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "dashboard/privacy_api.h"
#include "dashboard/request_guard.h"
#include "dashboard/web_assets.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace OHOS::Host::Dashboard {

class DashboardServer {
public:
    static constexpr size_t MAX_BODY_BYTES = 16 * 1024;
    static constexpr int THREADS = 4;
    static constexpr time_t IDLE_SECONDS = 5;

    // `api` and `assets` must outlive the server. `defaultUser` is the user a request that names
    // none is about.
    DashboardServer(const PrivacyApi& api, const WebAssets& assets, std::string token, int32_t defaultUser);
    ~DashboardServer();
    DashboardServer(const DashboardServer&) = delete;
    DashboardServer& operator=(const DashboardServer&) = delete;

    // Binds 127.0.0.1:`port`, or a free port for 0. False with `error` when the port is taken.
    bool Bind(uint16_t port, std::string& error);
    // After Bind: "http://127.0.0.1:<port>/s/<token>/".
    std::string Url() const;
    // Serves until Stop(); false when the server could not run.
    bool Serve();
    // From any thread: ends Serve.
    void Stop();

private:
    void Handle(const httplib::Request& request, httplib::Response& response) const;
    void HandleApi(const std::string& route, const httplib::Request& request, httplib::Response& response) const;
    // The answer of a read (`route` is one of them) and of the change.
    ApiAnswer Read(const std::string& route, const httplib::Request& request) const;
    ApiAnswer Set(const httplib::Request& request) const;
    ApiAnswer Usage(const httplib::Request& request) const;
    // The "user" parameter, or the default; empty when it is not a user id.
    std::optional<int32_t> UserOf(const httplib::Request& request) const;

    const PrivacyApi& api_;
    const WebAssets& assets_;
    const std::string token_;
    const int32_t defaultUser_;
    std::unique_ptr<httplib::Server> server_;
    std::optional<RequestGuard> guard_;
    uint16_t port_ = 0;
};

}  // namespace OHOS::Host::Dashboard

#endif  // DASHBOARD_DASHBOARD_SERVER_H
