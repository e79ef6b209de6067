// The contour store: which rays are traced, what is recorded, and what memory it takes.

#include "toon/contour.h"

#include "scripted/host.h"

namespace {

using scripted::IsColor;

// What a contour function was asked; it is the parameters of the lens.
struct Asked {
    int times = 0;
    zel_ct_store* store = nullptr;
    miColor seen = {};
};

miBoolean ask(miColor* result, miState*, void* params, zel_ct_store* store) {
    auto* asked = static_cast<Asked*>(params);
    *asked = {asked->times + 1, store, *result};
    return store ? miFALSE : miTRUE;
}

class ContourTest : public scripted::Renderer {
  protected:
    void TearDown() override {
        zel_ct_exit(&store);
        Renderer::TearDown();
    }

    // The numbers of a pixel's rays, in order; those that hit something are marked by an x.
    std::string sample(const std::string& hits) {
        std::string rays;
        host.trace_eye = [&](miColor* result, miState* from, auto&, const miVector& dir) {
            const int k = static_cast<zel_ct_store*>(from->user)->current;
            rays += static_cast<char>('0' + k);
            const double side = store.width;
            EXPECT_NEAR(100 * (dir.x / -dir.z + 0.5), 40.5 + (k % 3 - 1) / side, 1e-4) << k;
            EXPECT_NEAR(100 * (dir.y / -dir.z + 0.5), 60.5 + (k / 3 - 1) / side, 1e-4) << k;
            *result = {static_cast<miScalar>(k), 0, 0, 1};
            miState hit = *from;
            hit.label = 7, hit.motion = {1, 2, 3};
            if (hits.at(static_cast<std::size_t>(k)) == 'x') zel_ct_set(&hit, result, &record);
            return miTRUE;
        };
        state.raster_x = 40.5f, state.raster_y = 60.5f;
        zel_ct_raster_dir(&state, &state.dir, 40.5f, 60.5f);
        asked = {};
        miColor result;
        const miBoolean answer = zel_ct_sample(&result, &state, &asked, &store);
        EXPECT_EQ(answer, asked.store ? miFALSE : miTRUE);
        EXPECT_TRUE(asked.times == 1 && asked.seen.r == 4 && result.r == 4);
        return rays;
    }

    zel_ct_store store = {};
    Asked asked;
    int record = 42;
    miColor color = {1, 2, 3, 4};
};

TEST_F(ContourTest, TracesTheRingOnlyWhenCentreOrCornersWereRecorded) {
    ASSERT_TRUE(zel_ct_init(&store, 1, sizeof record, ask, nullptr));
    for (const char* hits : {"....x....", "........x", "xxxxxxxxx"}) {
        EXPECT_EQ(sample(hits), "402681357") << hits;
        EXPECT_EQ(asked.store, &store);
    }
    for (const char* hits : {".........", ".x.x.x.x."}) {
        EXPECT_EQ(sample(hits), "40268") << hits;
        EXPECT_EQ(asked.store, nullptr);
    }
    EXPECT_TRUE(store.flags == 0 && state.user_size == 4);
    for (int k = 0; k < 9; ++k) {
        EXPECT_TRUE(store.label[k] == 0 && store.depth[k] == 0 && store.dot_nd[k] == 0);
        for (const miVector* v : {store.point, store.normal, store.normal_geom, store.motion})
            EXPECT_TRUE(is_zero(v[k]));
        EXPECT_EQ(store.color[k].r, static_cast<miScalar>(k)) << "colours are kept";
        EXPECT_EQ(reinterpret_cast<const int*>(store.user)[k], 42) << "and records";
    }
}

TEST_F(ContourTest, RecordsTheLatestHitOfItsOwnRays) {
    ASSERT_TRUE(zel_ct_init(&store, 1, sizeof record, ask, nullptr));
    const std::string same_text = "zel_contour";
    zel_ct_store foreign = store;
    foreign.tag = same_text.c_str();
    const auto small = std::make_unique<double>(1);  // what follows it is not to be read
    const std::pair<void*, int> strangers[] = {{nullptr, 0},  {nullptr, 4},
                                               {&foreign, 4}, {&foreign, sizeof foreign},
                                               {&store, -1},  {small.get(), sizeof *small}};
    for (const auto& [user, size] : strangers) {
        state.user = user, state.user_size = size;
        EXPECT_FALSE(zel_ct_ray(&state) || zel_ct_set(&state, &color, &record)) << size;
    }
    state.user = &store, state.user_size = 4, store.current = 5;
    EXPECT_TRUE(zel_ct_set(&state, &color, &record));
    host.camera = scripted::translation(0, 0, -2);
    state.point = {1, 2, 3}, state.normal = {4, 5, 6}, state.normal_geom = {7, 8, 9};
    state.motion = {10, 11, 12}, state.dot_nd = -0.5f, state.label = 99, color.a = 0.25f;
    EXPECT_TRUE(zel_ct_set(&state, &color, nullptr));
    const miVector sum = store.point[5] + store.normal[5] + store.normal_geom[5] + store.motion[5];
    EXPECT_TRUE(is_zero(sum - miVector{22, 26, 30}));
    EXPECT_TRUE(store.dot_nd[5] == -0.5f && store.label[5] == 99 && store.label[4] == 0);
    EXPECT_EQ(store.depth[5], 1) << "behind the camera counts like in front";
    EXPECT_THAT(store.color[5], IsColor(1, 2, 3, 0.25f));
    EXPECT_EQ(reinterpret_cast<const int*>(store.user)[5], 42) << "no new record";
}

TEST_F(ContourTest, TellsWhatIsMissingAndReleasesTheRest) {
    EXPECT_FALSE(zel_ct_init(&store, 1, 896, nullptr, nullptr));
    EXPECT_EQ(host.messages.back().text, "zel_ct_init: register contour function\n");
    const char* kArrays[] = {"point", "dot_nd", "normal", "normal_geom", "depth", "color",
                             "label", "motion", "user",   "mask",        "org",   "dir"};
    for (int n = 0; n < 12; ++n) {
        host.failing_allocation = host.allocation_count + n + 1;
        EXPECT_FALSE(zel_ct_init(&store, 1, 896, ask, nullptr));
        EXPECT_EQ(host.messages.back().text,
                  "problem allocating " + std::string(kArrays[n]) + "\n");
        zel_ct_exit(&store);
        EXPECT_TRUE(host.allocations.empty());
    }
    EXPECT_FALSE(zel_ct_init(&store, 0x7fffffff, 896, ask, nullptr)) << "more than memory holds";
    zel_ct_exit(&store);
    EXPECT_TRUE(zel_ct_init(&store, 1, 0, ask, nullptr));
    state.user = &store;
    EXPECT_TRUE(zel_ct_set(&state, &color, &record)) << "there is no place for the record";
}

TEST_F(ContourTest, ClassesFollowTheRadius) {
    const std::pair<int, std::string> kCases[] = {
        {1, "101020101"}, {2, "1000100000002000000010001"}, {0, "2"}, {-7, "2"}};
    for (const auto& [radius, classes] : kCases) {
        ASSERT_TRUE(zel_ct_init(&store, radius, 0, ask, nullptr));
        std::string found;
        for (int k = 0; k < store.count; ++k) found += static_cast<char>('0' + store.mask[k]);
        EXPECT_EQ(found, classes);
        zel_ct_exit(&store);
    }
}

}  // namespace
