/*
 * Runs one fuzz target's entry point over saved inputs, without libFuzzer: the seed corpus and the
 * inputs that earlier findings taught (tests/fuzz/regressions). Built with any compiler, so the
 * ordinary test run replays them; a crash or a broken contract aborts the program and fails the
 * test.
 *
 *   asp_fuzz_replay_<target> [--open LIST] PATH...
 *
 * PATH is an input file or a directory of them (not searched below). LIST (regressions/OPEN)
 * names the inputs of findings that are known and not fixed yet, one per line:
 *
 *   <target>/<file> [avoid:<key>]...   # what the input shows
 *
 * An entry of this target is reported and skipped; the avoid keys are for scripts/fuzz.sh. The
 * run fails before it replays anything when a line's first word is not "<target>/<file>" (an
 * entry that would silently never match); and after it, when an entry of this target names none
 * of the inputs given (a fixed finding whose line stayed, or a misspelt one), or when nothing was
 * replayed (a missing corpus must not pass as a clean one).
 */
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) __attribute__((weak));

#ifndef ASP_FUZZ_TARGET
#error "ASP_FUZZ_TARGET names the target whose entry point is linked"
#endif

namespace {

namespace fs = std::filesystem;

// The entries of this target ("<target>/<file>") in the list at `path`; false, with the reason
// printed, when the list cannot be read or a line does not name an input in that form.
bool ReadOpenList(const std::string& path, std::set<std::string>& open)
{
    std::ifstream in(path);
    if (!in) {
        std::fprintf(stderr, "cannot read the open findings list %s\n", path.c_str());
        return false;
    }
    const std::string prefix = std::string(ASP_FUZZ_TARGET) + "/";
    std::string line;
    bool ok = true;
    for (size_t number = 1; std::getline(in, line); ++number) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string name;
        if (!(words >> name)) {
            continue;
        }
        const size_t slash = name.find('/');
        if (slash == 0 || slash == std::string::npos || slash + 1 == name.size() ||
            name.find('/', slash + 1) != std::string::npos) {
            std::fprintf(stderr, "%s:%zu: '%s' is not <target>/<file>\n", path.c_str(), number, name.c_str());
            ok = false;
        } else if (name.compare(0, prefix.size(), prefix) == 0) {
            open.insert(name);
        }
    }
    return ok;
}

std::vector<fs::path> ListInputs(const fs::path& path)
{
    std::vector<fs::path> inputs;
    std::error_code error;
    if (fs::is_directory(path, error)) {
        for (const auto& entry : fs::directory_iterator(path, error)) {
            if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') {
                inputs.push_back(entry.path());
            }
        }
        std::sort(inputs.begin(), inputs.end());
    } else if (fs::is_regular_file(path, error)) {
        inputs.push_back(path);
    }
    return inputs;
}

bool Replay(const fs::path& input)
{
    std::ifstream in(input, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", input.c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // Printed before the run: when an input aborts, the last line names it.
    std::printf("replay %s (%zu bytes)\n", input.c_str(), bytes.size());
    std::fflush(stdout);
    // A copy of exactly the input's size, so that AddressSanitizer sees a read one past its end.
    std::vector<uint8_t> exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&argc, &argv);
    }
    std::set<std::string> open;
    std::vector<fs::path> paths;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--open") == 0 && i + 1 < argc) {
            ok = ReadOpenList(argv[++i], open) && ok;
        } else {
            paths.emplace_back(argv[i]);
        }
    }
    if (!ok) {
        return 2;  // nothing replayed under a list that may not say what it means
    }
    size_t replayed = 0;
    size_t skipped = 0;
    std::set<std::string> unmatched = open;
    for (const fs::path& path : paths) {
        const std::vector<fs::path> inputs = ListInputs(path);
        if (inputs.empty()) {
            std::fprintf(stderr, "no inputs at %s\n", path.c_str());
        }
        for (const fs::path& input : inputs) {
            const std::string name = std::string(ASP_FUZZ_TARGET) + "/" + input.filename().string();
            if (open.count(name) != 0) {
                std::printf("skip %s: an open finding, not fixed yet\n", name.c_str());
                unmatched.erase(name);
                ++skipped;
                continue;
            }
            ok = Replay(input) && ok;
            ++replayed;
        }
    }
    for (const std::string& name : unmatched) {
        std::fprintf(stderr, "the open finding %s names none of the inputs replayed\n", name.c_str());
        ok = false;
    }
    std::printf("%s: replayed %zu inputs, skipped %zu open findings\n", ASP_FUZZ_TARGET, replayed, skipped);
    return ok && replayed > 0 ? 0 : 1;
}
