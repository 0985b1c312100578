/*
 * Runs one fuzz target's entry point over saved inputs, without libFuzzer: the seed corpus and the
 * inputs that earlier findings taught (tests/fuzz/regressions). Built with any compiler, so the
 * ordinary test run replays them; a crash or a broken contract aborts the program and fails the
 * test.
 *
 *   asp_fuzz_replay_<target> [--open LIST] PATH...
 *
 * PATH is an input file or a directory of them (not searched below). LIST names the inputs of
 * findings that are known and not fixed yet, one "<target>/<file>" per line (text after '#' is a
 * comment); those are reported and skipped. A run that replays nothing fails: a missing corpus
 * must not pass as a clean one.
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

std::set<std::string> ReadOpenList(const std::string& path)
{
    std::set<std::string> open;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string name;
        if (words >> name) {
            open.insert(name);
        }
    }
    return open;
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
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--open") == 0 && i + 1 < argc) {
            open = ReadOpenList(argv[++i]);
        } else {
            paths.emplace_back(argv[i]);
        }
    }
    size_t replayed = 0;
    size_t skipped = 0;
    bool ok = true;
    for (const fs::path& path : paths) {
        const std::vector<fs::path> inputs = ListInputs(path);
        if (inputs.empty()) {
            std::fprintf(stderr, "no inputs at %s\n", path.c_str());
        }
        for (const fs::path& input : inputs) {
            const std::string name = std::string(ASP_FUZZ_TARGET) + "/" + input.filename().string();
            if (open.count(name) != 0) {
                std::printf("skip %s: an open finding, not fixed yet\n", name.c_str());
                ++skipped;
                continue;
            }
            ok = Replay(input) && ok;
            ++replayed;
        }
    }
    std::printf("%s: replayed %zu inputs, skipped %zu open findings\n", ASP_FUZZ_TARGET, replayed, skipped);
    return ok && replayed > 0 ? 0 : 1;
}
