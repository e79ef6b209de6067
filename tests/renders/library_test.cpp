// The built plug-in: what it exports and what it needs.

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::Each;
using testing::IsSupersetOf;
using testing::MatchesRegex;

// The last words of the lines that a shell command prints.
std::vector<std::string> last_words(const std::string& command) {
    const auto close = [](std::FILE* pipe) { pclose(pipe); };
    const std::unique_ptr<std::FILE, decltype(close)> pipe(popen(command.c_str(), "r"), close);
    std::vector<std::string> words;
    std::array<char, 1024> line;
    while (std::fgets(line.data(), line.size(), pipe.get())) {
        std::istringstream in(line.data());
        std::string word;
        while (in >> word) {
        }
        words.push_back(word);
    }
    return words;
}

const std::string kPlugin = ORVANE_BUILD_DIR "/orvane.so";

TEST(Plugin, ExportsPlainNames) {
    const auto names = last_words("nm -D --defined-only '" + kPlugin + "'");
    EXPECT_THAT(names, IsSupersetOf({"dso_version_orvane", "Orvane_Light", "Orvane_Light_version",
                                     "Orvane_Light_init", "Orvane_Light_exit", "Orvane_Lens",
                                     "qv_SetupMapProj", "qv_VerifyLight", "parsePrimitivePic"}));
    EXPECT_THAT(names, Each(MatchesRegex("[A-Za-z][A-Za-z0-9_]*")));
}

TEST(Plugin, NeedsTheStandardLibraryAndTheRenderer) {
    const auto needed = last_words("readelf -dW '" + kPlugin + "' | grep NEEDED");
    EXPECT_THAT(needed,
                Each(MatchesRegex(
                    "\\[(lib(stdc\\+\\+|m|gcc_s|c|asan|ubsan|tsan)|ld-linux-x86-64)\\.so\\..*")));
    const auto asked = last_words("nm -D --undefined-only '" + kPlugin + "' | grep ' mi_'");
    EXPECT_THAT(asked, Contains("mi_trace_shadow"));
}

}  // namespace
