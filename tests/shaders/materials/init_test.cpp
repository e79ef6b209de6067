// What the materials say once, when the render begins.

#include "scripted/host.h"

using Version = int();
using Init = void(miState*, void*, miBoolean*);
extern "C" {
Version zel_strauss_version, zel_trispec_version, zel_frosty_version, zel_peekaboo_version,
    zel_xmasball_version, zel_velvet_version, translucent_material_version,
    zel_shadow_matte_version;
Init zel_strauss_init, zel_trispec_init, zel_frosty_init, zel_peekaboo_init, zel_xmasball_init,
    zel_velvet_init, zel_shadow_matte_init;
}

namespace {

class MaterialInitTest : public scripted::Renderer {};

TEST_F(MaterialInitTest, TellsTheirNamesOnce) {
    const struct {
        Version* version;
        Init* init;
        std::string name;
    } kMaterials[] = {{zel_strauss_version, zel_strauss_init, "strauss"},
                      {zel_trispec_version, zel_trispec_init, "trispec"},
                      {zel_frosty_version, zel_frosty_init, "frosty"},
                      {zel_peekaboo_version, zel_peekaboo_init, "peekaboo"},
                      {zel_xmasball_version, zel_xmasball_init, "xmasball"},
                      {zel_velvet_version, zel_velvet_init, "velvet"},
                      {zel_shadow_matte_version, zel_shadow_matte_init, "shadow_matte"}};
    for (const auto& m : kMaterials) {
        host.messages.clear();
        miBoolean request = miFALSE;
        int block = 0;
        m.init(&state, nullptr, &request);
        m.init(&state, &block, nullptr);
        ASSERT_EQ(host.messages.size(), 1u) << m.name;
        EXPECT_EQ(host.messages[0].text, m.name + " initializing\n");
        EXPECT_TRUE(host.messages[0].level == "info" && !request && m.version() == 2) << m.name;
    }
    EXPECT_EQ(translucent_material_version(), 2);
}

}  // namespace
