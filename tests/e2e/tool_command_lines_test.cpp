// The tools' command lines against a real daemon serving the privacy service: each line exits with
// the code of the documented scheme and says why; the command lines of README.md and docs/TOOLS.md
// run as written, and every JSON answer has the shape docs/TOOLS.md gives.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using ::testing::HasSubstr;

constexpr const char* SETTINGS = "com.ohos.permissionmanager";

std::string SourceFile(const std::string& relative)
{
    const std::string profile = ASP_E2E_PROFILE;  // <source>/profiles/default_device.json
    std::ifstream in(profile.substr(0, profile.rfind("/profiles/")) + "/" + relative);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// The words of a shell command line, with '...' and "..." quoting; a trailing "# comment" dropped.
std::vector<std::string> Words(const std::string& line)
{
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (char c : line) {
        if (quote != 0) {
            c == quote ? static_cast<void>(quote = 0) : word.push_back(c);
        } else if (c == '\'' || c == '"') {
            quote = c;
            inWord = true;
        } else if (c == '#' && !inWord) {
            break;
        } else if (c == ' ') {
            if (inWord) {
                words.push_back(word);
            }
            word.clear();
            inWord = false;
        } else {
            word.push_back(c);
            inWord = true;
        }
    }
    if (inWord) {
        words.push_back(word);
    }
    return words;
}

// The blocks of a Markdown text fenced as ```<language>, in order, each with the language.
std::vector<std::pair<std::string, std::string>> FencedBlocks(const std::string& markdown)
{
    std::vector<std::pair<std::string, std::string>> blocks;
    std::istringstream in(markdown);
    std::string line;
    bool inside = false;
    while (std::getline(in, line)) {
        if (line.rfind("```", 0) == 0) {
            inside = !inside;
            if (inside) {
                blocks.emplace_back(line.substr(3), "");
            }
        } else if (inside) {
            blocks.back().second += line + "\n";
        }
    }
    return blocks;
}

bool IsTool(const std::string& word)
{
    for (const char* tool : {"aspctl", "bm", "atm", "param", "hidumper"}) {
        if (word == tool) {
            return true;
        }
    }
    return false;
}

// Where `actual` differs in shape from `documented` (keys, their order and the kinds of values,
// every element of an array against the documented first one); empty when it does not.
std::string ShapeDifference(
    const nlohmann::ordered_json& documented, const nlohmann::ordered_json& actual, const std::string& path)
{
    const bool bothNumbers = documented.is_number() && actual.is_number();
    if (documented.type() != actual.type() && !bothNumbers) {
        return path + ": documented " + documented.type_name() + ", answered " + actual.type_name();
    }
    if (documented.is_object()) {
        std::vector<std::string> documentedKeys;
        std::vector<std::string> actualKeys;
        for (const auto& item : documented.items()) {
            documentedKeys.push_back(item.key());
        }
        for (const auto& item : actual.items()) {
            actualKeys.push_back(item.key());
        }
        if (documentedKeys != actualKeys) {
            return path + ": documented keys " + nlohmann::json(documentedKeys).dump() + ", answered " +
                   nlohmann::json(actualKeys).dump();
        }
        for (const auto& item : documented.items()) {
            if (const std::string difference =
                    ShapeDifference(item.value(), actual[item.key()], path + "." + item.key());
                !difference.empty()) {
                return difference;
            }
        }
    }
    if (documented.is_array() && !documented.empty()) {
        for (size_t i = 0; i < actual.size(); ++i) {
            if (const std::string difference =
                    ShapeDifference(documented[0], actual[i], path + "[" + std::to_string(i) + "]");
                !difference.empty()) {
                return difference;
            }
        }
    }
    return "";
}

class ToolCommandLinesTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!HostdHarness::IsRoot()) {
            GTEST_SKIP() << "the tools take the apps' uids, which needs root";
        }
        hostd_.SetAbilityLibrary(ASP_E2E_SERVICE_LIBRARY);
        ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    }

    ToolResult Run(const std::vector<std::string>& words) const
    {
        return hostd_.RunTool(words[0], std::vector<std::string>(words.begin() + 1, words.end()));
    }

    HostdHarness hostd_;
};

TEST_F(ToolCommandLinesTest, EveryLineExitsWithItsCodeAndSaysWhy)
{
    const std::string as = std::string("--as ") + SETTINGS + " ";
    const struct {
        std::string line;
        int exitCode;
        std::string said;  // in stdout or stderr
    } lines[] = {
        // Global options anywhere; -v says where a request goes and what came back.
        {"aspctl " + as + "group CAMERA --json", 0, "\"permissionGroup\": \"CAMERA\""},
        {"aspctl groups com.example.maps --as " + std::string(SETTINGS) + " -v", 0, "<- answered (0)"},
        {"aspctl groups com.example.maps -v", 4, "<- refused: permission missing (201)"},
        {"aspctl groups com.example.maps", 4, "name a system app that holds it with --as"},
        // Decimal numbers only; empty names refused; names printed are names accepted.
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=010", 2, "decimal"},
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=2", 2, "malicious-app takes 0"},
        {"aspctl " + as + "groups com.example.maps --user 0100", 2, "decimal"},
        {"aspctl " + as + "group ''", 2, "'' is not one of LOCATION, PRECISE_LOCATION"},
        {"aspctl " + as + "set com.example.maps '' DENY", 2, "'' is not one of"},
        {"aspctl " + as + "usage summary --group PASTEBOARD-SC", 2, "'PASTEBOARD-SC' is not one of LOCATION"},
        {"aspctl " + as + "usage timeline --bundle com.example.notes --group PASTEBOARD --json", 0,
            "\"usedType\": \"security_component\""},
        // A summary counts under one filter, says which, and takes no timeline options.
        {"aspctl " + as + "usage summary --app-state background --screen-state locked", 2, "counts under one filter"},
        {"aspctl " + as + "usage summary --screen-state unlocked", 2, "counts under one filter"},
        {"aspctl " + as + "usage summary --app-state background", 0, "app state background, screen any"},
        {"aspctl " + as + "usage summary --screen-state locked --json", 0, "\"screenState\": \"locked\""},
        {"aspctl " + as + "usage summary --limit 3", 2, "--limit"},
        // The service's cap is said, with the next page.
        {"aspctl " + as + "usage timeline --limit 100000", 2, "[1, 500]"},
        {"aspctl " + as + "usage timeline", 0, "at most 500 uses at once"},
        {"aspctl " + as + "usage timeline --order oldest --begin -4w", 0, "continue with --begin "},
        // gtoken checks its bundle.
        {"aspctl " + as + "gtoken add '' --policy x=1", 2, "an empty value names nothing"},
        {"aspctl " + as + "gtoken add com.example.nothing --policy malicious-app=1", 5, "unknown bundle"},
        {"aspctl " + as + "gtoken remove com.example.nothing", 5, "unknown bundle"},
        // The documented exit codes.
        {"param set '' x", 2, "an empty value names nothing"},
        {"bm install -n ''", 2, "an empty value names nothing"},
        {"atm record -b com.example.maps -p ohos.permission.LOCATION -s -5", 2, "not a decimal number"},
        {"atm perm -g -b com.example.maps -p ohos.permission.LOCATION -f 0x1", 2, "not flag words"},
        {"hidumper -s 65993 -a 'permission get-by-app com.example.maps -1'", 2, "did not understand the arguments"},
        {"hidumper -s 65993 -a 'permission get-by-app com.example.maps 100 location'", 2, "Unknown permissionGroup"},
        {"hidumper -s 65993 -a bogus", 2, "Unknown moduleName=bogus"},
        {"hidumper -s 010", 2, "not an ability id"},
        {"aspctl " + as + "groups com.example.maps --user 102", 5, "no user 102 on the device"},
        // A set that does not happen says why, read from the group.
        {"aspctl " + as + "set com.example.maps MICROPHONE DENY", 0, "MICROPHONE is DENY already"},
        {"aspctl " + as + "set com.example.maps location allow", 2, "ALLOW is not offered for LOCATION"},
        {"aspctl " + as + "set com.example.navigation.fleet LOCATION DENY", 1, "is disabled for LOCATION"},
        {"aspctl " + as + "set com.example.maps CAMERA DENY", 5, "has no CAMERA group"},
        // Times: strict ISO 8601 with offsets, relative forms, local or UTC.
        {"aspctl " + as + "usage timeline --begin 2026-11-+2", 2, "is not a time"},
        {"aspctl " + as + "usage timeline --end 2026-11-24T08:30:60", 2, "is not a time"},
        {"aspctl " + as + "usage timeline --end 2026-11-24T10:00:00Z --begin 2026-11-24T09:00:00+01:00", 0, "uses"},
        {"aspctl " + as + "usage timeline --begin yesterday --limit 1 --utc", 0, "Z  com."},
        {"aspctl " + as + "usage summary --begin -1w --end -3d", 0, "allowed uses from"},
        // Every tool: --version, --json, vocabularies, help that names the global options.
        {"hidumper --help", 0, "leave -a out to list its modules"},
        {"hidumper -ls --json", 0, "\"lastLoadError\": \"\""},
        {"bm --version", 0, "bm 1."},
        {"bm dump -n com.example.maps --json", 0, "\"flagNames\": ["},
        {"atm dump -t -b com.example.maps --json", 0, "\"state\": \"granted\""},
        {"param get const.debuggable --json", 0, "\"key\": \"const.debuggable\""},
        {"aspctl list operation-groups", 0, "IMAGE_AND_VIDEOS\nCONTACTS"},
        {"aspctl list apps --json", 0, "\"bundleName\": \"com.example.bank\""},
        {"aspctl " + as + "usage timeline --limit 1 --json", 0, "\"operationMode\": \"allowed\""},
        {"aspctl usage summary --help", 0, "Global options (anywhere on the line)"},
        {"aspctl __complete usage timeline --group LOC", 0, "LOCATION\n"},
        {"aspctl __complete list o", 0, "operation-groups\n"},
        // The policy table's effects on the app: a second malicious-app=1 lifts the status the first
        // set; removing the policies leaves it.
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=1", 0, "disposed: yes"},
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=1", 0,
            "replaced malicious-app=1)\ndisposed: no"},
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=1", 0, "is not disposed"},
        {"aspctl " + as + "gtoken get malicious-app --json", 0, "\"disposed\": false"},
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=0", 0, "disposed: no"},
        {"aspctl " + as + "gtoken add com.example.game.arcade --policy malicious-app=1 --policy x=3", 0,
            "disposed: yes"},
        {"aspctl " + as + "gtoken remove com.example.game.arcade", 0, "stays disposed"},
        {"bm dump -n com.example.game.arcade", 0, "disposed:    yes"},
    };
    for (const auto& line : lines) {
        const ToolResult result = Run(Words(line.line));
        EXPECT_EQ(result.exitCode, line.exitCode) << line.line << "\n" << result.out << result.err;
        EXPECT_THAT(result.out + result.err, HasSubstr(line.said)) << line.line;
    }
    // Apps of a group come sorted by bundle name.
    const auto infos = nlohmann::json::parse(Run(Words("aspctl " + as + "group LOCATION --json")).out, nullptr, false);
    ASSERT_TRUE(infos.is_array());
    ASSERT_GT(infos.size(), 3U);
    for (size_t i = 1; i < infos.size(); ++i) {
        EXPECT_LE(infos[i - 1].value("bundleName", ""), infos[i].value("bundleName", ""));
    }
}

TEST_F(ToolCommandLinesTest, TheReadmeCommandLinesRun)
{
    size_t run = 0;
    for (const auto& [language, block] : FencedBlocks(SourceFile("README.md"))) {
        std::istringstream lines(block);
        std::string line;
        while (language == "sh" && std::getline(lines, line)) {
            const std::vector<std::string> words = Words(line);
            if (!words.empty() && IsTool(words[0])) {
                const ToolResult result = Run(words);
                EXPECT_EQ(result.exitCode, 0) << line << "\n" << result.out << result.err;
                ++run;
            }
        }
    }
    EXPECT_GE(run, 10U);
}

TEST_F(ToolCommandLinesTest, ToolsDocumentsEveryCommandsJsonShape)
{
    const auto blocks = FencedBlocks(SourceFile("docs/TOOLS.md"));
    size_t checked = 0;
    for (size_t i = 0; i + 1 < blocks.size(); ++i) {
        if (blocks[i].first != "sh" || blocks[i + 1].first != "json") {
            continue;
        }
        const std::string line = blocks[i].second.substr(0, blocks[i].second.find('\n'));
        const auto documented = nlohmann::ordered_json::parse(blocks[i + 1].second, nullptr, false);
        ASSERT_FALSE(documented.is_discarded()) << "the example of " << line << " is not JSON";
        const ToolResult result = Run(Words(line));
        ASSERT_EQ(result.exitCode, 0) << line << "\n" << result.err;
        const auto actual = nlohmann::ordered_json::parse(result.out, nullptr, false);
        EXPECT_EQ(ShapeDifference(documented, actual, "$"), "") << line << "\n" << result.out;
        ++checked;
    }
    EXPECT_GE(checked, 18U);
}

// The daemon's side of what the tools show: a profile's syntax error once with its place, a device
// reset from its profile, an ability library it cannot open, a load error in hidumper -ls.
TEST(HostdToolingTest, TheDaemonSaysWhatIsWrongOnceAndResetsADevice)
{
    HostdHarness hostd;
    const std::string badProfile = hostd.Directory() + "/bad.json";
    std::ofstream(badProfile) << "{\n  \"version\": 1,\n  }\n";
    ASSERT_FALSE(hostd.Start({"--profile", badProfile}));
    for (const std::string& said : {hostd.StartupOutput(), hostd.Log()}) {  // stderr, the log file
        EXPECT_THAT(said, HasSubstr("not valid JSON: parse error at line 3, column 3"));
        EXPECT_EQ(said.find("not valid JSON"), said.rfind("not valid JSON")) << said;
    }

    HostdHarness noLibrary;
    noLibrary.SetAbilityLibrary(noLibrary.Directory() + "/missing.so");
    ASSERT_FALSE(noLibrary.Start());
    EXPECT_THAT(noLibrary.StartupOutput(), HasSubstr("cannot open the ability library"));

    // A file that claims to be a library starts the daemon, fails to load, and -ls says why.
    HostdHarness broken;
    const std::string fake = broken.Directory() + "/fake.so";
    std::ofstream(fake) << "\x7f"
                           "ELF and nothing else";
    broken.SetAbilityLibrary(fake);
    ASSERT_TRUE(broken.Start()) << broken.StartupOutput();
    EXPECT_EQ(broken.RunTool("hidumper", {"-s", "65993"}).exitCode, 1);
    EXPECT_THAT(broken.RunTool("hidumper", {"-ls"}).out, HasSubstr("last load failed: " + fake));

    // --profile on a device that exists is said to be unread; --reset --yes seeds it again.
    HostdHarness device;
    ASSERT_TRUE(device.Start());
    ASSERT_EQ(device.RunTool("param", {"set", "persist.e2e.kept", "1"}).exitCode, 0);
    ASSERT_EQ(device.Stop(), 0);
    ASSERT_TRUE(device.Start());
    EXPECT_THAT(device.StartupOutput(), HasSubstr("--profile seeds a new device only, and was not read"));
    EXPECT_EQ(device.RunTool("param", {"get", "persist.e2e.kept"}).exitCode, 0);
    ASSERT_EQ(device.Stop(), 0);
    EXPECT_FALSE(device.Start({"--reset"}));
    EXPECT_THAT(device.StartupOutput(), HasSubstr("add --yes to do it"));
    ASSERT_TRUE(device.Start({"--reset", "--yes"})) << device.StartupOutput();
    EXPECT_EQ(device.RunTool("param", {"get", "persist.e2e.kept"}).exitCode, 5);
    EXPECT_EQ(device.RunTool("param", {"get", "const.debuggable"}).exitCode, 0);
}

}  // namespace
}  // namespace AspTest
