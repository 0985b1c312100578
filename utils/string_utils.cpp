#include "utils/string_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

std::vector<std::string> StringUtils::Split(const std::string& text, const std::string& delimiter, bool skipEmpty)
{
    std::vector<std::string> pieces;
    if (text.empty()) {
        return pieces;
    }
    if (delimiter.empty()) {
        pieces.push_back(text);
        return pieces;
    }
    size_t start = 0;
    while (true) {
        const size_t end = text.find(delimiter, start);
        std::string piece = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!skipEmpty || !piece.empty()) {
            pieces.push_back(std::move(piece));
        }
        if (end == std::string::npos) {
            break;
        }
        start = end + delimiter.size();
    }
    return pieces;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
