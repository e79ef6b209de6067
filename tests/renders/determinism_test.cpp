// The same scene gives the same picture, bit for bit, whoever renders which part of it.

#include <gmock/gmock.h>

#include <cstring>

#include "command.h"

namespace orvane {
namespace {

TEST(Determinism, NeitherThreadsNorTilesChangeAPicture) {
    const Arguments kSettings[] = {{"-j", "1"},
                                   {"-j", "1", "--tile-size", "8"},
                                   {"-j", "3"},
                                   {"-j", "7", "--tile-size", "8"},
                                   {"-j", "2", "--tile-size", "64"}};
    for (const std::string name : {"everything", "toon_groups"}) {
        const Folder folder("$include \"" ORVANE_SOURCE_DIR "/tests/pictures/" + name + ".mi\"");
        std::vector<miColor> first;
        for (Arguments arguments : kSettings) {
            arguments.insert(arguments.end(), {"-v", "2", "-o", "out.exr"});
            ASSERT_EQ(folder.render(arguments).errors, "");
            const std::vector<miColor> pixels = folder.picture().pixels();
            if (first.empty()) first = pixels;
            EXPECT_EQ(std::memcmp(pixels.data(), first.data(), first.size() * sizeof(miColor)), 0)
                << name << ' ' << testing::PrintToString(arguments);
        }
    }
}

}  // namespace
}  // namespace orvane
