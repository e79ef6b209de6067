// The sprite lens: how many rays, and what becomes of the edges against the background.

#include "lens_fixture.h"

extern "C" {
void zel_sprite_init(miState*, void*, miBoolean*);
void zel_sprite_exit(miState*, void*);
miBoolean zel_sprite(miColor*, miState*, void*);
}

namespace {

using scripted::IsColor;

struct Sprite {
    miInteger radius;
    miBoolean blend_background;
};

// The picture is red rising to the right, and background right of edge.
class SpriteTest : public LensFixture {
  protected:
    SpriteTest() {
        host.trace_eye = [this](miColor* result, miState*, auto&, const miVector& dir) {
            const miVector at = place(dir);
            const bool background = at.x > edge;
            *result = {background ? 0 : at.x, background ? 0 : at.y, 0, background ? 0.0f : alpha};
            return miTRUE;
        };
        miBoolean wanted = miFALSE;
        zel_sprite_init(&state, nullptr, &wanted);
        EXPECT_TRUE(wanted);
    }
    void TearDown() override {
        zel_sprite_exit(&state, nullptr);
        Renderer::TearDown();
    }
    miColor look(miBoolean answer = miTRUE) {
        host.calls.clear();
        miColor result = {9, 9, 9, 9};
        EXPECT_EQ(zel_sprite(&result, &state, &sprite), answer);
        return result;
    }
    int rays() const { return host.count("mi_trace_eye"); }

    Sprite sprite = {1, miTRUE};
    miScalar edge = 100, alpha = 1;
};

TEST_F(SpriteTest, AveragesItsRays) {
    const struct {
        Sprite sprite;
        miScalar edge, alpha;
        int rays;
        miColor color;
    } kCases[] = {
        {{1, 1}, 100, 1, 9, {50.5f, 60.5f, 0, 1}},
        {{2, 1}, 100, 0.5f, 25, {50.5f, 60.5f, 0, 0.5f}},
        {{1, 0}, 100, 1e-9f, 9, {50.5f, 60.5f, 0, 0}},
        {{-5, 1}, 100, 1, 1, {50.5f, 60.5f, 0, 1}},
        {{1, 0}, 0, 1, 1, {0, 0, 0, 0}},
        {{1, 1}, 0, 1, 9, {0, 0, 0, 0}},
        // The right column is background: that ends a hard edge at the fourth ray.
        {{1, 0}, 50.7f, 1, 4, {50.5f, 60.5f, 0, 1}},
        {{1, 1}, 50.7f, 1, 9, {50.333333f * 2 / 3, 60.5f * 2 / 3, 0, 2.0f / 3}},
    };
    for (const auto& c : kCases) {
        sprite = c.sprite, edge = c.edge, alpha = c.alpha;
        zel_sprite_init(&state, &sprite, nullptr);
        EXPECT_THAT(look(), IsColor(c.color.r, c.color.g, c.color.b, c.color.a, 1e-3f));
        EXPECT_EQ(rays(), c.rays) << c.sprite.radius << c.sprite.blend_background << c.edge;
        zel_sprite_exit(&state, &sprite);
    }
}

TEST_F(SpriteTest, TwoOnOneCameraDisableEachOther) {
    attach(true), attach(false);
    zel_sprite_init(&state, &sprite, nullptr);
    EXPECT_EQ(look().a, 1);
    attach(true);
    Sprite other = {3, miFALSE};
    miFunction second = function;
    state.shader = &second;
    zel_sprite_init(&state, &other, nullptr);  // takes the stores over
    EXPECT_EQ(host.messages[2].text, "zel_sprite: only one instance allowed, others disabled\n");
    EXPECT_EQ(host.messages[3].text, "sprite: initialized 96 thread(s)\n");
    EXPECT_THAT(look(), IsColor(9, 9, 9, 9));
    EXPECT_EQ(rays(), 0);
    zel_sprite_exit(&state, &other);
    state.shader = &function;
    zel_sprite_exit(&state, &sprite);
}

TEST_F(SpriteTest, EndsTheRenderWhenItCannotRun) {
    zel_sprite_init(&state, &sprite, nullptr);
    for (const int thread : {95, 96, -1}) {
        state.thread = static_cast<std::int16_t>(thread);
        EXPECT_EQ(look().a, 1);
        EXPECT_EQ(rays(), thread == 95 ? 9 : 1);
    }
    zel_sprite_exit(&state, &sprite);
    const auto fatal = [&](int failing, void* params) {
        miBoolean wanted;
        host.failing_allocation = host.allocation_count + failing;
        EXPECT_THROW(zel_sprite_init(&state, params, &wanted), scripted::Fatal);
        return host.messages.back().text;
    };
    EXPECT_EQ(fatal(400, &sprite), "sprite: unable to initialize\n");
    global_lock.unlock();  // the render has ended inside
    zel_sprite_exit(&state, &sprite);
    zel_sprite_exit(&state, nullptr);
    EXPECT_EQ(fatal(1, nullptr), "sprite: unable to allocate shader memory\n");
    options.scanline = miTRUE;
    EXPECT_EQ(fatal(0, nullptr), "sprite: shader will not run in scanline mode\n");
    EXPECT_THAT(look(miFALSE), IsColor(9, 9, 9, 9));
}

}  // namespace
