#include "dashboard/dashboard_server.h"

#include <httplib.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>
#include <utility>

namespace OHOS::Host::Dashboard {
namespace {

constexpr int HTTP_OK = 200;
constexpr int HTTP_FOUND = 302;
constexpr int HTTP_BAD_REQUEST = 400;
constexpr int HTTP_NOT_FOUND = 404;
constexpr int HTTP_METHOD_NOT_ALLOWED = 405;
// uid = user * 200000 must stay a 32-bit int.
constexpr int64_t MAX_USER_ID = 10737;
constexpr size_t MAX_NAME_LENGTH = 256;
constexpr const char* LOOPBACK = "127.0.0.1";
constexpr const char* JSON_TYPE = "application/json; charset=utf-8";

// Nothing of the dashboard is cached, framed or referred to elsewhere, and its pages run only
// their own scripts and talk only to their own origin.
const httplib::Headers SECURITY_HEADERS = {
    {"Cache-Control", "no-store"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
        "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
};

void SendJson(httplib::Response& response, int status, const nlohmann::json& body)
{
    response.status = status;
    // Names from the service are not checked for UTF-8; a bad byte must not end the answer.
    response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), JSON_TYPE);
}

void SendError(httplib::Response& response, int status, const std::string& message)
{
    SendJson(response, status, {{"error", message}});
}

// One value of `name`, or empty when it is absent; false when it came more than once.
bool SingleParam(const httplib::Request& request, const char* name, std::string& value)
{
    const size_t count = request.get_param_value_count(name);
    value = count == 1 ? request.get_param_value(name) : std::string();
    return count <= 1;
}

std::optional<int64_t> ParseInteger(const std::string& text, int64_t min, int64_t max)
{
    if (text.empty() || text.size() > 20) {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || end != text.c_str() + text.size() || value < min || value > max) {
        return std::nullopt;
    }
    return value;
}

// Bundle and policy names: what the platform's names are made of, and bounded.
bool IsPlainName(const std::string& name)
{
    if (name.empty() || name.size() > MAX_NAME_LENGTH) {
        return false;
    }
    for (char c : name) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
                           c == '_' || c == '-';
        if (!plain) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> SplitList(const std::string& text)
{
    std::vector<std::string> items;
    size_t start = 0;
    while (start <= text.size() && !text.empty()) {
        const size_t comma = text.find(',', start);
        items.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) {
            break;
        }
        start = comma + 1;
    }
    return items;
}

// The listed words as numbers (`words[i]` is i + 1), ascending and each once, as the service wants
// them; false for a word not listed.
bool ParseStates(const std::string& text, const std::vector<std::string>& words, std::vector<int32_t>& states)
{
    for (const std::string& item : SplitList(text)) {
        bool known = false;
        for (size_t i = 0; i < words.size(); ++i) {
            if (item == words[i]) {
                states.push_back(static_cast<int32_t>(i + 1));
                known = true;
            }
        }
        if (!known) {
            return false;
        }
    }
    std::sort(states.begin(), states.end());
    states.erase(std::unique(states.begin(), states.end()), states.end());
    return true;
}

RequestFacts FactsOf(const httplib::Request& request)
{
    return {request.method, request.path, request.get_header_value("Host"), request.get_header_value_count("Host"),
        request.get_header_value("Origin"), request.get_header_value_count("Origin"),
        request.get_header_value("Content-Type")};
}

}  // namespace

DashboardServer::DashboardServer(const PrivacyApi& api, const WebAssets& assets, std::string token, int32_t defaultUser)
    : api_(api),
      assets_(assets),
      token_(std::move(token)),
      defaultUser_(defaultUser),
      server_(std::make_unique<httplib::Server>())
{
    server_->new_task_queue = [] { return new httplib::ThreadPool(THREADS); };
    server_->set_payload_max_length(MAX_BODY_BYTES);
    server_->set_read_timeout(IDLE_SECONDS, 0);
    server_->set_write_timeout(IDLE_SECONDS, 0);
    server_->set_keep_alive_timeout(IDLE_SECONDS);
    server_->set_default_headers(SECURITY_HEADERS);
    // The guard runs before the server reads a body: a refused request is not read any further.
    server_->set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        const GuardDecision decision = guard_->Check(FactsOf(request));
        if (decision.status == HTTP_OK) {
            return httplib::Server::HandlerResponse::Unhandled;
        }
        SendError(response, decision.status, decision.reason);
        return httplib::Server::HandlerResponse::Handled;
    });
    const auto handle = [this](const httplib::Request& request, httplib::Response& response) {
        Handle(request, response);
    };
    server_->Get(".*", handle);
    server_->Post(".*", handle);
    server_->Put(".*", handle);
    server_->Patch(".*", handle);
    server_->Delete(".*", handle);
    server_->Options(".*", handle);
}

DashboardServer::~DashboardServer() = default;

bool DashboardServer::Bind(uint16_t port, std::string& error)
{
    int bound = port;
    if (port == 0) {
        bound = server_->bind_to_any_port(LOOPBACK);
    } else if (!server_->bind_to_port(LOOPBACK, port)) {
        bound = -1;
    }
    if (bound <= 0) {
        error = "cannot listen on " + std::string(LOOPBACK) + ":" + std::to_string(port) + ": is the port taken?";
        return false;
    }
    port_ = static_cast<uint16_t>(bound);
    guard_.emplace(token_, port_);
    return true;
}

std::string DashboardServer::Url() const
{
    return "http://" + std::string(LOOPBACK) + ":" + std::to_string(port_) + guard_->SessionPrefix() + "/";
}

bool DashboardServer::Serve()
{
    return guard_.has_value() && server_->listen_after_bind();
}

void DashboardServer::Stop()
{
    server_->stop();
}

void DashboardServer::Handle(const httplib::Request& request, httplib::Response& response) const
{
    const GuardDecision decision = guard_->Check(FactsOf(request));
    if (decision.status != HTTP_OK) {
        SendError(response, decision.status, decision.reason);
        return;
    }
    const std::string& rest = decision.rest;
    if (rest.empty()) {
        response.set_redirect(guard_->SessionPrefix() + "/", HTTP_FOUND);
        return;
    }
    if (rest.compare(0, 5, "/api/") == 0) {
        HandleApi(rest.substr(5), request, response);
        return;
    }
    if (request.method != "GET" && request.method != "HEAD") {
        response.set_header("Allow", "GET");
        SendError(response, HTTP_METHOD_NOT_ALLOWED, "the pages are only read");
        return;
    }
    const WebAsset* asset = assets_.Find(rest == "/" ? "index.html" : rest.substr(1));
    if (asset == nullptr) {
        SendError(response, HTTP_NOT_FOUND, "no such page");
        return;
    }
    response.status = HTTP_OK;
    response.set_content(asset->body, asset->contentType);
}

void DashboardServer::HandleApi(
    const std::string& route, const httplib::Request& request, httplib::Response& response) const
{
    static const std::set<std::string> READS = {"meta", "apps", "app", "group", "usage", "gtoken"};
    const bool isChange = route == "set";
    if (!isChange && READS.count(route) == 0) {
        SendError(response, HTTP_NOT_FOUND, "no such request");
        return;
    }
    const bool isRead = request.method == "GET" || request.method == "HEAD";
    if (isChange ? request.method != "POST" : !isRead) {
        response.set_header("Allow", isChange ? "POST" : "GET");
        SendError(response, HTTP_METHOD_NOT_ALLOWED,
            isChange ? "a change is a POST from the dashboard's page" : "this request only reads: use GET");
        return;
    }
    const ApiAnswer answer = isChange ? Set(request) : Read(route, request);
    SendJson(response, answer.status, answer.body);
}

ApiAnswer DashboardServer::Read(const std::string& route, const httplib::Request& request) const
{
    if (route == "usage") {
        return Usage(request);
    }
    std::string name;
    if (route == "gtoken") {
        std::string bundles;
        if (!SingleParam(request, "policy", name) || !IsPlainName(name) || !SingleParam(request, "bundle", bundles)) {
            return ApiAnswer::Error(HTTP_BAD_REQUEST, "policy must be a policy name, for example malicious-app");
        }
        const std::vector<std::string> bundleNames = SplitList(bundles);
        if (!std::all_of(bundleNames.begin(), bundleNames.end(), IsPlainName)) {
            return ApiAnswer::Error(HTTP_BAD_REQUEST, "bundle must list bundle names");
        }
        return api_.GTokenPolicy(name, bundleNames);
    }
    const std::optional<int32_t> user = UserOf(request);
    if (!user) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "user must be a user id");
    }
    if (route == "meta") {
        return api_.Meta(*user);
    }
    if (route == "apps") {
        return api_.Apps(*user);
    }
    if (route == "app") {
        return SingleParam(request, "bundle", name) && IsPlainName(name)
                   ? api_.AppGroups(name, *user)
                   : ApiAnswer::Error(HTTP_BAD_REQUEST, "bundle must be a bundle name");
    }
    return SingleParam(request, "group", name) && PrivacyApi::IsGroupName(name)
               ? api_.GroupApps(name, *user)
               : ApiAnswer::Error(HTTP_BAD_REQUEST, "group must be a permission group, for example LOCATION");
}

std::optional<int32_t> DashboardServer::UserOf(const httplib::Request& request) const
{
    std::string text;
    if (!SingleParam(request, "user", text)) {
        return std::nullopt;
    }
    if (text.empty()) {
        return defaultUser_;
    }
    const auto user = ParseInteger(text, 0, MAX_USER_ID);
    return user ? std::optional<int32_t>(static_cast<int32_t>(*user)) : std::nullopt;
}

ApiAnswer DashboardServer::Set(const httplib::Request& request) const
{
    const nlohmann::json body = nlohmann::json::parse(request.body, nullptr, false);
    if (body.is_discarded() || !body.is_object()) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "the body must be a JSON object");
    }
    auto text = [&body](const char* name) {
        const auto found = body.find(name);
        return found != body.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    const std::string bundle = text("bundleName");
    const std::string group = text("permissionGroup");
    const std::string state = text("checkedState");
    const auto user = body.find("userId");
    const auto fixed = body.find("userFixed");
    if (!IsPlainName(bundle)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "bundleName must be a bundle name");
    }
    if (!PrivacyApi::IsGroupName(group)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "permissionGroup must be a permission group, for example LOCATION");
    }
    if (!PrivacyApi::IsStateName(state)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "checkedState must be a state, for example ALLOW_ONLY_WHILE_IN_USE");
    }
    if (user != body.end() && (!user->is_number_integer() || *user < 0 || *user > MAX_USER_ID)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "userId must be a user id");
    }
    if (fixed != body.end() && !fixed->is_boolean()) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "userFixed must be true or false");
    }
    return api_.SetState(bundle, user == body.end() ? defaultUser_ : user->get<int32_t>(), group, state,
        fixed != body.end() && fixed->get<bool>());
}

ApiAnswer DashboardServer::Usage(const httplib::Request& request) const
{
    UsageAsk ask;
    std::string view;
    std::string bundle;
    std::string groups;
    std::string mode;
    std::string appStates;
    std::string screenStates;
    std::string begin;
    std::string end;
    std::string limit;
    std::string order;
    const std::optional<int32_t> user = UserOf(request);
    if (!user || !SingleParam(request, "view", view) || !SingleParam(request, "bundle", bundle) ||
        !SingleParam(request, "group", groups) || !SingleParam(request, "mode", mode) ||
        !SingleParam(request, "app", appStates) || !SingleParam(request, "screen", screenStates) ||
        !SingleParam(request, "begin", begin) || !SingleParam(request, "end", end) ||
        !SingleParam(request, "limit", limit) || !SingleParam(request, "order", order)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "each parameter at most once, and user a user id");
    }
    ask.userId = *user;
    if (view != "timeline" && view != "summary") {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "view must be timeline or summary");
    }
    ask.timeline = view == "timeline";
    if (!bundle.empty() && !IsPlainName(bundle)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "bundle must be a bundle name");
    }
    ask.bundleName = bundle;
    ask.groups = SplitList(groups);
    for (const std::string& group : ask.groups) {
        if (!PrivacyApi::IsOperationGroupName(group)) {
            return ApiAnswer::Error(HTTP_BAD_REQUEST, "group must list operation groups, for example LOCATION,CAMERA");
        }
    }
    if (!mode.empty() && mode != "allowed" && mode != "rejected") {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "mode must be allowed or rejected");
    }
    ask.operationMode = mode == "rejected" ? -1 : 0;
    if (!ParseStates(appStates, {"foreground", "background"}, ask.appStates) ||
        !ParseStates(screenStates, {"unlocked", "locked"}, ask.screenStates)) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "app lists foreground, background; screen lists unlocked, locked");
    }
    const auto beginMs = ParseInteger(begin, 0, INT64_MAX);
    const auto endMs = ParseInteger(end, 0, INT64_MAX);
    if (!beginMs || !endMs || *beginMs >= *endMs) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "begin and end must be milliseconds, begin before end");
    }
    ask.beginMs = *beginMs;
    ask.endMs = *endMs;
    const auto limitValue = limit.empty() ? std::optional<int64_t>(0) : ParseInteger(limit, 0, 500);
    if (!limitValue) {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "limit must lie in 0..500 (0: the whole range)");
    }
    ask.limit = static_cast<int32_t>(*limitValue);
    if (!order.empty() && order != "oldest" && order != "newest") {
        return ApiAnswer::Error(HTTP_BAD_REQUEST, "order must be oldest or newest");
    }
    ask.order = order == "oldest" ? 1 : 0;
    return api_.Usage(ask);
}

}  // namespace OHOS::Host::Dashboard
