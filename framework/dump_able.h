#ifndef FRAMEWORK_DUMP_ABLE_H
#define FRAMEWORK_DUMP_ABLE_H

#include <cstdio>
#include <string>
#include <vector>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {

// Something the platform dump tool can reach: it writes its dump, or its usage, to a descriptor.
// Implementations write nothing when fd is negative.
class DumpAble {
public:
    virtual ~DumpAble() = default;
    virtual void Dump(int fd, const std::vector<std::string>& args) = 0;
    virtual void PrintUsage(int fd) const = 0;

    // Writes one dump line, "%s\n" in one dprintf, when fd is not negative.
    static void WriteLine(int fd, const std::string& line)
    {
        if (fd >= 0) {
            dprintf(fd, "%s\n", line.c_str());
        }
    }
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module

#endif  // FRAMEWORK_DUMP_ABLE_H
