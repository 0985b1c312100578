/*
 * Reading the attributes carried in the high half of a full token id.
 */
#ifndef PLATFORM_TOKENID_KIT_H
#define PLATFORM_TOKENID_KIT_H

#include <cstdint>

namespace OHOS::Security::AccessToken {

class TokenIdKit {
public:
    // True when the full token id carries the system-app attribute (bit 32).
    static bool IsSystemAppByFullTokenID(uint64_t tokenId);
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_TOKENID_KIT_H
