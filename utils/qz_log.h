/*
 * The service's logging: one Util::QzLog::Tag per source unit, made at load, and the macros
 * QZ_LOGD / QZ_LOGI / QZ_LOGW / QZ_LOGE (levels 3 to 6) that print through HiLogPrint.
 *
 * A source unit declares its tag under the name LOG_TAG, which the macros use:
 *
 *     namespace { const auto LOG_TAG = Util::QzLog::Tag::Create("permission"); }
 *     QZ_LOGI("called with bundleName=%s", bundleName.c_str());
 *
 * Every line is prefixed with "[component][module][file:line] function: ". The macros ask
 * HiLogIsLoggable first and evaluate their arguments only when the line will be printed, so a debug
 * line that renders a whole container costs nothing while debug logging is off. Arguments must be
 * numbers, enums or C strings: anything else is refused at compile time, since it cannot pass
 * through HiLogPrint's ellipsis.
 */
#ifndef UTILS_QZ_LOG_H
#define UTILS_QZ_LOG_H

#include <string>
#include <type_traits>

#include "hilog/log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::QzLog {

// The log domain of the service's lines (the platform shows it as C05A00).
constexpr unsigned int DOMAIN = 0xD005A00;

class Tag {
public:
    static Tag Create(const std::string& moduleTag = "default", const std::string& componentTag = "QRV",
        const std::string& subSystemTag = "ASP");

    LogType GetType() const { return type_; }
    unsigned int GetDomain() const { return domain_; }
    const char* GetSubSystemTag() const { return subSystemTag_.c_str(); }
    const char* GetComponentTag() const { return componentTag_.c_str(); }
    const char* GetModuleTag() const { return moduleTag_.c_str(); }

private:
    Tag(LogType type, unsigned int domain, std::string subSystemTag, std::string componentTag, std::string moduleTag);

    LogType type_;
    unsigned int domain_;
    std::string subSystemTag_;
    std::string componentTag_;
    std::string moduleTag_;
};

template <typename T>
constexpr bool IS_LOGGABLE_ARGUMENT_V = std::is_arithmetic_v<std::decay_t<T>> || std::is_enum_v<std::decay_t<T>> ||
                                        std::is_pointer_v<std::decay_t<T>> || std::is_null_pointer_v<std::decay_t<T>>;

// Checks the argument types, then hands the line to the platform log.
template <typename... Args>
inline void Print(const Tag& tag, LogLevel level, const char* fmt, Args... args)
{
    static_assert((IS_LOGGABLE_ARGUMENT_V<Args> && ...),
        "log arguments must be numbers, enums or C strings (use .c_str() for std::string)");
    HiLogPrint(tag.GetType(), level, tag.GetDomain(), tag.GetSubSystemTag(), fmt, args...);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::QzLog

#define QZ_LOG_PRINT(level, fmt, ...)                                                                          \
    do {                                                                                                       \
        if (HiLogIsLoggable(LOG_TAG.GetDomain(), LOG_TAG.GetSubSystemTag(), (level))) {                        \
            ::OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::QzLog::Print(LOG_TAG, (level),            \
                "[%{public}s][%{public}s][%{public}s:%{public}d] %{public}s: " fmt, LOG_TAG.GetComponentTag(), \
                LOG_TAG.GetModuleTag(), __FILE_NAME__, __LINE__, __FUNCTION__, ##__VA_ARGS__);                 \
        }                                                                                                      \
    } while (0)

#define QZ_LOGD(fmt, ...) QZ_LOG_PRINT(LOG_DEBUG, fmt, ##__VA_ARGS__)
#define QZ_LOGI(fmt, ...) QZ_LOG_PRINT(LOG_INFO, fmt, ##__VA_ARGS__)
#define QZ_LOGW(fmt, ...) QZ_LOG_PRINT(LOG_WARN, fmt, ##__VA_ARGS__)
#define QZ_LOGE(fmt, ...) QZ_LOG_PRINT(LOG_ERROR, fmt, ##__VA_ARGS__)

#endif  // UTILS_QZ_LOG_H
