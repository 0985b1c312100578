#ifndef PLATFORM_STRING_EX_H
#define PLATFORM_STRING_EX_H

#include <string>

namespace OHOS {

// UTF-16 to UTF-8. A lone or reversed surrogate makes the whole result empty.
std::string Str16ToStr8(const std::u16string& str16);

// UTF-8 to UTF-16. Malformed UTF-8 (bad continuation, overlong form, surrogate code point, beyond
// U+10FFFF, truncated sequence) makes the whole result empty.
std::u16string Str8ToStr16(const std::string& str);

}  // namespace OHOS

#endif  // PLATFORM_STRING_EX_H
