#include "tokenid_kit.h"

#include "access_token.h"

namespace OHOS::Security::AccessToken {

bool TokenIdKit::IsSystemAppByFullTokenID(uint64_t tokenId)
{
    return (tokenId & SYSTEM_APP_MASK) != 0;
}

}  // namespace OHOS::Security::AccessToken
