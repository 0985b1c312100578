#ifndef UTILS_STRING_UTILS_H
#define UTILS_STRING_UTILS_H

#include <string>
#include <vector>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

class StringUtils {
public:
    // The pieces of `text` between occurrences of `delimiter`, in order. Empty pieces are kept
    // ("a,,b" gives "a", "", "b") unless `skipEmpty` is set. An empty text gives no pieces; an
    // empty delimiter gives the whole text as its one piece.
    static std::vector<std::string> Split(
        const std::string& text, const std::string& delimiter, bool skipEmpty = false);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // UTILS_STRING_UTILS_H
