#include "tests/support/fd_capture.h"

#include <sys/mman.h>
#include <unistd.h>

namespace AspTest {

FdCapture::FdCapture() : fd_(memfd_create("asp-test-capture", MFD_CLOEXEC))
{
}

FdCapture::~FdCapture()
{
    if (fd_ >= 0) {
        close(fd_);
    }
}

std::string FdCapture::Text() const
{
    std::string text;
    char buffer[4096];
    off_t offset = 0;
    ssize_t n;
    while ((n = pread(fd_, buffer, sizeof(buffer), offset)) > 0) {
        text.append(buffer, static_cast<size_t>(n));
        offset += n;
    }
    return text;
}

std::vector<std::string> FdCapture::Lines() const
{
    std::vector<std::string> lines;
    const std::string text = Text();
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            lines.push_back(text.substr(start));
            break;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

}  // namespace AspTest
