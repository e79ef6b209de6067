// Linking of libraries and finding of functions, with libraries that every system has.
#include "plugin/library.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cmath>
#include <fstream>

namespace orvane::plugin {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// The file of the math library that this program runs with.
fs::path math_library() {
    Dl_info info;
    double (*function)(double) = std::cbrt;
    return dladdr(reinterpret_cast<void*>(function), &info) ? info.dli_fname : "";
}

class LibraryTest : public testing::Test {
  protected:
    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }
    const fs::path folder = fs::path(testing::TempDir()) / "orvane_library_test";
    std::string why;
};

TEST_F(LibraryTest, FindsFilesOnTheSearchPathWhateverTheirExtension) {
    if (!fs::exists(math_library())) GTEST_SKIP() << "no math library as a file of its own";
    fs::create_symlink(fs::canonical(math_library()), folder / "maths.so");
    Libraries libraries({"/nowhere", folder});
    for (const char* name : {"maths.so", "maths.dll", "maths.dylib", "maths.sl", "maths"})
        EXPECT_TRUE(libraries.link(name, why)) << name << ": " << why;
    EXPECT_TRUE(libraries.link((folder / "maths").string(), why)) << why;

    // The library's own functions are found, those that it takes from elsewhere are not.
    EXPECT_NE(libraries.find("cbrt").shade, nullptr);
    EXPECT_EQ(libraries.find("cbrt").init, nullptr);
    EXPECT_EQ(libraries.find("malloc").shade, nullptr);
    EXPECT_EQ(Libraries({}).find("cbrt").shade, nullptr);
}

TEST_F(LibraryTest, SaysWhyALibraryCannotBeLinked) {
    Libraries libraries({folder});
    std::ofstream(folder / "broken.so") << "not a library";
    for (const std::string name : {"absent", "broken"}) {
        EXPECT_FALSE(libraries.link(name + ".dll", why));
        EXPECT_THAT(
            why, AllOf(HasSubstr(name + ".so"), HasSubstr(folder.string()), Not(HasSubstr("\n"))));
    }
    const auto size = static_cast<double>(fs::file_size(math_library()));
    for (const double kept : {0.0001, 0.01, 0.3, 0.9, 0.9999}) {
        fs::copy_file(math_library(), folder / "cut.so", fs::copy_options::overwrite_existing);
        fs::resize_file(folder / "cut.so", static_cast<std::uintmax_t>(kept * size));
        EXPECT_FALSE(libraries.link("cut", why)) << kept;
    }
}

}  // namespace
}  // namespace orvane::plugin
