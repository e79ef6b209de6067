// Renders each scene of this folder and compares what comes out with the reference beside it:
// NAME.exr, and NAME.2.exr and so on where a scene renders more than once.
//
// Where references were made, by g++ 12, every bit is the same; elsewhere a few parts in 100,000
// may differ, since mathematical functions do. Of a picture that differs, itself, its reference
// and the difference are left in the folder "pictures" of the build.
//
//     pictures_tests --accept [NAME...]    writes new references, telling what changed

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>

#include "image/picture_file.h"
#include "renders/command.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;

#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ == 12
constexpr double kTolerance = 0;
#else
constexpr double kTolerance = 5e-5;
#endif

const fs::path kScenes = ORVANE_SOURCE_DIR "/tests/pictures";
const fs::path kLeft = ORVANE_BUILD_DIR "/pictures";

// The largest difference of two channels, in parts of the greater value above 1; infinite when the
// sizes differ. difference becomes a picture of the differences.
double compare(const Image& picture, const Image& reference, Image* difference) {
    if (picture.width() != reference.width() || picture.height() != reference.height())
        return INFINITY;
    *difference = Image(picture.width(), picture.height());
    double largest = 0;
    const auto channel = [&](float a, float b, float* out) {
        *out = std::abs(a - b);
        largest = std::max(largest, double{*out} / std::max(1.0f, std::abs(b)));
    };
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const miColor &a = picture.at(x, y), &b = reference.at(x, y);
            miColor& out = difference->at(x, y);
            channel(a.r, b.r, &out.r);
            channel(a.g, b.g, &out.g);
            channel(a.b, b.b, &out.b);
            channel(a.a, b.a, &out.a);
        }
    return largest;
}

void leave(const Folder& folder, const std::string& name, const Image& difference) {
    fs::create_directories(kLeft);
    fs::copy_file(folder.path(name), kLeft / name, fs::copy_options::overwrite_existing);
    if (fs::exists(kScenes / name))
        fs::copy_file(kScenes / name, kLeft / ("reference_" + name),
                      fs::copy_options::overwrite_existing);
    image::PictureSettings settings;
    settings.type = "rgba_fp";
    if (difference.width() > 0)
        image::write_picture(difference, kLeft / ("difference_" + name), settings);
}

// Names of the references of a scene, in order.
std::vector<std::string> references(const std::string& scene) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(kScenes)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(scene + ".") && name.ends_with(".exr")) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Picture : public testing::Test {
  public:
    Picture(std::string name, bool accept) : name_(std::move(name)), accept_(accept) {}

    void TestBody() override {
        const Folder folder("");
        const Outcome outcome = folder.run(
            {"render", (kScenes / (name_ + ".mi")).string(), "-v", "2", "-o", name_ + ".exr"});
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        EXPECT_TRUE(accept_ || folder.files() == references(name_));
        for (const std::string& file : folder.files()) check(folder, file);
    }

  private:
    void check(const Folder& folder, const std::string& file) const {
        Image difference;
        const bool known = fs::exists(kScenes / file);
        const double largest =
            known ? compare(folder.picture(file), image::read_image(kScenes / file, 1), &difference)
                  : INFINITY;
        if (largest <= (accept_ ? 0 : kTolerance)) return;
        leave(folder, file, difference);
        if (!accept_) ADD_FAILURE() << file << " differs by " << largest << ": see " << kLeft;
        if (!accept_) return;
        std::cout << file << (known ? " differed by " + std::to_string(largest) : " is new")
                  << '\n';
        fs::copy_file(folder.path(file), kScenes / file, fs::copy_options::overwrite_existing);
    }

    std::string name_;
    bool accept_;
};

}  // namespace
}  // namespace orvane

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool accept = !arguments.empty() && arguments[0] == "--accept";
    const auto is_meant = [&](const std::string& name) {
        return arguments.size() < 2 || std::count(arguments.begin(), arguments.end(), name) > 0;
    };
    for (const auto& entry : std::filesystem::directory_iterator(orvane::kScenes)) {
        const std::string name = entry.path().stem();
        if (entry.path().extension() != ".mi" || !is_meant(name)) continue;
        testing::RegisterTest("Pictures", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [name, accept] { return new orvane::Picture(name, accept); });
    }
    return RUN_ALL_TESTS();
}
