#include "dashboard/request_guard.h"

#include <sys/random.h>

#include <cerrno>
#include <utility>

namespace OHOS::Host::Dashboard {
namespace {

constexpr size_t TOKEN_BYTES = 32;
constexpr int FORBIDDEN = 403;
constexpr int UNSUPPORTED_MEDIA_TYPE = 415;

bool StartsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

// "application/json" or "application/json; charset=utf-8", in any case.
bool IsJson(const std::string& contentType)
{
    std::string mediaType = contentType.substr(0, contentType.find(';'));
    while (!mediaType.empty() && mediaType.back() == ' ') {
        mediaType.pop_back();
    }
    for (char& c : mediaType) {
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    return mediaType == "application/json";
}

}  // namespace

RequestGuard::RequestGuard(std::string token, uint16_t port) : token_(std::move(token)), port_(std::to_string(port))
{
}

bool RequestGuard::IsOwnHost(const std::string& host) const
{
    return host == "127.0.0.1:" + port_ || host == "localhost:" + port_;
}

bool RequestGuard::IsOwnOrigin(const std::string& origin) const
{
    return StartsWith(origin, "http://") && IsOwnHost(origin.substr(7));
}

GuardDecision RequestGuard::Check(const RequestFacts& request) const
{
    if (request.hostCount != 1 || !IsOwnHost(request.host)) {
        return {FORBIDDEN, "this dashboard answers only to http://127.0.0.1:" + port_ + "/", {}};
    }
    if (request.originCount > 1 || (request.originCount == 1 && !IsOwnOrigin(request.origin))) {
        return {FORBIDDEN, "requests from other sites are refused", {}};
    }
    std::string token;
    std::string rest;
    if (!SplitSession(request.path, token, rest) || !SameSecret(token, token_)) {
        return {FORBIDDEN, "open the URL that asp_dashboard printed: it carries the session token", {}};
    }
    if (request.method != "GET" && request.method != "HEAD") {
        // A browser always sends Origin with a POST; a request that hides it is not the page's.
        if (request.originCount != 1) {
            return {FORBIDDEN, "a change must come from the dashboard's own page (Origin missing)", {}};
        }
        if (!IsJson(request.contentType)) {
            return {UNSUPPORTED_MEDIA_TYPE, "a change is a JSON body (Content-Type: application/json)", {}};
        }
    }
    return {200, {}, std::move(rest)};
}

bool RequestGuard::SplitSession(const std::string& path, std::string& token, std::string& rest) const
{
    static const std::string PREFIX = "/s/";
    if (!StartsWith(path, PREFIX)) {
        return false;
    }
    const size_t end = path.find('/', PREFIX.size());
    token = path.substr(PREFIX.size(), end == std::string::npos ? std::string::npos : end - PREFIX.size());
    rest = end == std::string::npos ? std::string() : path.substr(end);
    return true;
}

bool RequestGuard::SameSecret(const std::string& given, const std::string& secret)
{
    if (given.size() != secret.size()) {
        return false;
    }
    unsigned char difference = 0;
    for (size_t i = 0; i < secret.size(); ++i) {
        difference |= static_cast<unsigned char>(given[i] ^ secret[i]);
    }
    return difference == 0;
}

std::optional<std::string> RequestGuard::NewToken()
{
    unsigned char bytes[TOKEN_BYTES];
    size_t filled = 0;
    while (filled < TOKEN_BYTES) {
        const ssize_t got = getrandom(bytes + filled, TOKEN_BYTES - filled, 0);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        filled += static_cast<size_t>(got);
    }
    static const char HEX[] = "0123456789abcdef";
    std::string token;
    token.reserve(TOKEN_BYTES * 2);
    for (unsigned char byte : bytes) {
        token += HEX[byte >> 4];
        token += HEX[byte & 0x0f];
    }
    return token;
}

}  // namespace OHOS::Host::Dashboard
