/*
 * What every fuzz target of tests/fuzz shares: a reader that cuts the input into the pieces a
 * target needs, FUZZ_CHECK, which turns a broken contract into a crash that libFuzzer keeps as
 * a reproducer (and that fails the replay of tests/fuzz/regressions in the ordinary build), and
 * Avoids, which lets a run go on past a finding that is known and not fixed yet.
 *
 * Targets take no randomness of their own and keep no state between inputs that could change an
 * outcome, so that one input always does the same thing.
 */
#ifndef TESTS_FUZZ_FUZZ_SUPPORT_H
#define TESTS_FUZZ_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace AspFuzz {

[[noreturn]] inline void Fail(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: broken contract: %s\n", file, line, condition);
    std::abort();
}

// The input, consumed from the front. Every Take* answers zeros or empty pieces once the input is
// used up, so a short input is just an input whose tail is zeros.
class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    size_t Remaining() const { return size_ - offset_; }

    uint8_t TakeByte() { return offset_ < size_ ? data_[offset_++] : 0; }

    uint16_t TakeU16()
    {
        const uint16_t low = TakeByte();
        return static_cast<uint16_t>(low | (static_cast<uint16_t>(TakeByte()) << 8U));
    }

    // Up to `count` bytes (fewer when the input ends first).
    std::vector<uint8_t> TakeBytes(size_t count)
    {
        const size_t take = count < Remaining() ? count : Remaining();
        std::vector<uint8_t> bytes(data_ + offset_, data_ + offset_ + take);
        offset_ += take;
        return bytes;
    }

    std::string TakeString(size_t count)
    {
        const std::vector<uint8_t> bytes = TakeBytes(count);
        return std::string(bytes.begin(), bytes.end());
    }

    std::vector<uint8_t> TakeRest() { return TakeBytes(Remaining()); }

private:
    const uint8_t* data_;
    size_t size_;
    size_t offset_ = 0;
};

// `bytes` grown with zeros to a 4-byte multiple: a parcel holds whole words only.
inline std::vector<uint8_t> PadToWords(std::vector<uint8_t> bytes)
{
    bytes.resize((bytes.size() + 3) & ~static_cast<size_t>(3), 0);
    return bytes;
}

// True when this run steers clear of the open finding `key`: ASP_FUZZ_AVOID holds the keys,
// separated by commas (scripts/fuzz.sh sets it from the "avoid:<key>" words of
// regressions/OPEN). A target consults it just before the step that would reach the finding, and
// then leaves the input alone (answers -1, so that libFuzzer does not keep it). The replay never
// sets it: the finding's own input is skipped there by name.
inline bool Avoids(const std::string& key)
{
    const char* keys = std::getenv("ASP_FUZZ_AVOID");
    if (keys == nullptr) {
        return false;
    }
    std::istringstream list(keys);
    std::string each;
    while (std::getline(list, each, ',')) {
        if (each == key) {
            return true;
        }
    }
    return false;
}

}  // namespace AspFuzz

#define FUZZ_CHECK(condition)                                \
    do {                                                     \
        if (!(condition)) {                                  \
            ::AspFuzz::Fail(#condition, __FILE__, __LINE__); \
        }                                                    \
    } while (0)

#endif  // TESTS_FUZZ_FUZZ_SUPPORT_H
