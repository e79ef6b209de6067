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

    // The rays of a pixel, in order; those that hit something are marked by an x.
    std::vector<int> sample(const std::string& hits) {
        std::vector<int> rays;
        host.trace_eye = [&](miColor* result, miState* from, auto&, const miVector& dir) {
            const int k = static_cast<zel_ct_store*>(from->user)->current;
            rays.push_back(k);
            const double side = store.width;
            const miVector place = {100 * (dir.x / -dir.z + 0.5f), 100 * (dir.y / -dir.z + 0.5f),
                                    0};
            EXPECT_NEAR(place.x, 40.5 + (k % store.width - store.radius) / side, 1e-4) << k;
            EXPECT_NEAR(place.y, 60.5 + (k / store.width - store.radius) / side, 1e-4) << k;
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
        EXPECT_EQ(asked.times, 1);
        EXPECT_EQ(asked.seen.r, static_cast<miScalar>(store.centre));
        EXPECT_EQ(result.r, asked.seen.r);
        return rays;
    }

    zel_ct_store store = {};
    Asked asked;
    int record = 42;
    miColor color = {1, 2, 3, 4};
};

TEST_F(ContourTest, TracesTheRingOnlyWhenCentreOrCornersWereRecorded) {
    ASSERT_TRUE(zel_ct_init(&store, 1, sizeof record, ask, nullptr));
    const std::vector<int> background = {4, 0, 2, 6, 8}, line = {4, 0, 2, 6, 8, 1, 3, 5, 7};
    for (const char* hits : {"....x....", "........x", "xxxxxxxxx"}) {
        EXPECT_EQ(sample(hits), line) << hits;
        EXPECT_EQ(asked.store, &store);
    }
    for (const char* hits : {".........", ".x.x.x.x."}) {
        EXPECT_EQ(sample(hits), background) << hits;
        EXPECT_EQ(asked.store, nullptr);
    }
    EXPECT_EQ(store.flags, 0);
    EXPECT_EQ(state.user_size, 4);
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
    const struct {
        void* user;
        int size;
    } strangers[] = {{nullptr, 0},
                     {nullptr, 4},
                     {&foreign, 4},
                     {&foreign, sizeof foreign},
                     {small.get(), sizeof *small},
                     {&store, -1}};
    for (const auto& [user, size] : strangers) {
        state.user = user, state.user_size = size;
        EXPECT_FALSE(zel_ct_ray(&state) || zel_ct_set(&state, &color, &record)) << size;
    }
    EXPECT_EQ(foreign.flags, 0);
    state.user = &store, state.user_size = 4;
    EXPECT_TRUE(zel_ct_ray(&state));
    store.current = 5;
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

TEST_F(ContourTest, TellsWhatIsMissing) {
    EXPECT_FALSE(zel_ct_init(&store, 1, 896, nullptr, nullptr));
    EXPECT_EQ(host.messages.back().text, "zel_ct_init: register contour function\n");
    EXPECT_EQ(host.allocation_count, 0);
    const std::pair<std::string, int> arrays[] = {
        {"point", 12}, {"dot_nd", 4}, {"normal", 12}, {"normal_geom", 12},
        {"depth", 8},  {"color", 16}, {"label", 4},   {"motion", 12},
        {"user", 896}, {"mask", 4},   {"org", 12},    {"dir", 12}};
    for (std::size_t n = 0; n < 12; ++n) {
        host.failing_allocation = host.allocation_count + static_cast<int>(n) + 1;
        EXPECT_FALSE(zel_ct_init(&store, 1, 896, ask, nullptr));
        EXPECT_EQ(host.messages.back().text, "problem allocating " + arrays[n].first + "\n");
        EXPECT_EQ(host.last("mi_mem_int_allocate").arguments[0], 9 * arrays[n].second);
        EXPECT_EQ(host.allocations.size(), n);
        zel_ct_exit(&store);
        EXPECT_TRUE(host.allocations.empty());
    }
    EXPECT_TRUE(zel_ct_init(&store, 1, 0, ask, nullptr));
    EXPECT_EQ(host.allocations.size(), 11u);
    state.user = &store;
    EXPECT_TRUE(zel_ct_set(&state, &color, &record)) << "there is no place for the record";
}

TEST_F(ContourTest, ClassesFollowTheRadius) {
    const std::pair<int, std::string> cases[] = {
        {1, "101020101"}, {2, "1000100000002000000010001"}, {0, "2"}, {-7, "2"}};
    for (const auto& [radius, classes] : cases) {
        ASSERT_TRUE(zel_ct_init(&store, radius, 0, ask, nullptr));
        std::string found;
        for (int k = 0; k < store.count; ++k) found += static_cast<char>('0' + store.mask[k]);
        EXPECT_EQ(found, classes);
        EXPECT_EQ(sample(std::string(classes.size(), 'x')).size(), classes.size());
        zel_ct_exit(&store);
    }
    EXPECT_FALSE(zel_ct_init(&store, 0x7fffffff, 896, ask, nullptr)) << "more than memory holds";
}

TEST_F(ContourTest, RaysGoThroughTheirPlaceInThePicture) {
    camera.focal = 2, camera.aspect = 2, camera.x_resolution = 200;
    host.camera = scripted::rotation(0.3f, -0.5f, 1);
    for (const miScalar x : {-1.f, 0.f, 1.f})  // from edge to edge
        for (const miScalar y : {-1.f, 0.f, 1.f}) {
            miVector dir;
            zel_ct_raster_dir(&state, &dir, 100 + 100 * x, 50 + 50 * y);
            mi_vector_to_camera(&state, &dir, &dir);
            EXPECT_LT(length(dir - normalized({x * 0.25f, y * 0.125f, -1})), 1e-6);
        }
}

}  // namespace
