#ifndef TESTS_SUPPORT_FD_CAPTURE_H
#define TESTS_SUPPORT_FD_CAPTURE_H

#include <string>
#include <vector>

namespace AspTest {

// A file descriptor that dump code writes to, read back as text or lines.
class FdCapture {
public:
    FdCapture();
    ~FdCapture();
    FdCapture(const FdCapture&) = delete;
    FdCapture& operator=(const FdCapture&) = delete;

    int Fd() const { return fd_; }
    std::string Text() const;
    // The text split at '\n'; the empty piece after a final newline is dropped.
    std::vector<std::string> Lines() const;

private:
    int fd_;
};

}  // namespace AspTest

#endif  // TESTS_SUPPORT_FD_CAPTURE_H
