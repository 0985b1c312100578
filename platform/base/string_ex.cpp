#include "string_ex.h"

#include <cstdint>

namespace OHOS {

std::string Str16ToStr8(const std::u16string& str16)
{
    std::string out;
    out.reserve(str16.size());
    for (size_t i = 0; i < str16.size(); ++i) {
        uint32_t cp = str16[i];
        if (cp >= 0xD800 && cp <= 0xDBFF) {
            if (i + 1 >= str16.size() || str16[i + 1] < 0xDC00 || str16[i + 1] > 0xDFFF) {
                return {};
            }
            cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<uint32_t>(str16[i + 1]) - 0xDC00);
            ++i;
        } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
            return {};
        }
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

std::u16string Str8ToStr16(const std::string& str)
{
    std::u16string out;
    out.reserve(str.size());
    size_t i = 0;
    while (i < str.size()) {
        const auto lead = static_cast<unsigned char>(str[i]);
        uint32_t cp = 0;
        size_t extra = 0;
        uint32_t min = 0;
        if (lead < 0x80) {
            cp = lead;
        } else if ((lead & 0xE0) == 0xC0) {
            cp = lead & 0x1F;
            extra = 1;
            min = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            cp = lead & 0x0F;
            extra = 2;
            min = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            cp = lead & 0x07;
            extra = 3;
            min = 0x10000;
        } else {
            return {};
        }
        if (i + extra >= str.size()) {
            return {};  // truncated sequence
        }
        for (size_t k = 1; k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(str[i + k]);
            if ((next & 0xC0) != 0x80) {
                return {};
            }
            cp = (cp << 6) | (next & 0x3F);
        }
        if ((extra != 0 && cp < min) || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            return {};
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
        i += extra + 1;
    }
    return out;
}

}  // namespace OHOS
