#ifndef PLATFORM_ERRORS_H
#define PLATFORM_ERRORS_H

namespace OHOS {

using ErrCode = int;
constexpr ErrCode ERR_OK = 0;

}  // namespace OHOS

#endif  // PLATFORM_ERRORS_H
