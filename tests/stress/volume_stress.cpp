// Orvane_Volume under contention: 96 threads at once call instances that have yet to build their
// lights. Built with the thread sanitizer, which fails the test for any race.

#include <cstring>
#include <latch>
#include <thread>

#include "shaders/volumetric/volume_fixture.h"

namespace {

constexpr std::size_t kThreads = 96;

class VolumeStress : public VolumeTest {
  protected:
    VolumeStress() {
        add_spot({0, 2, -3}).volume_shadows = miTRUE;
        add_point({0.5f, 0, -4}).volume_shadows = miTRUE;
        params.fog = miTRUE, params.fog_end = 20;

        // Every depth ray passes through both volumes, and lets other threads run meanwhile.
        host.trace_reflection = [this](miColor* c, miState* from, const miVector&) {
            std::this_thread::yield();
            EXPECT_EQ(from->time, 0);  // whichever ray came first
            for (miFunction& volume : volumes) {
                miState ray = *from;
                ray.shader = &volume;
                ray.dist = 2.5;
                EXPECT_TRUE(Orvane_Volume(c, &ray, &params));
            }
            return miTRUE;
        };
    }

    void exit_and(bool init_again) {
        for (miFunction& volume : volumes) {
            state.shader = &volume;
            exit();
            if (init_again) init();
        }
    }

    // What a thread sees in a volume along a ray of its own.
    miColor see_as(std::size_t thread, miFunction& volume) {
        miState ray = state;
        ray.thread = static_cast<std::int16_t>(thread);
        ray.time = static_cast<miScalar>(thread);
        ray.shader = &volume;
        ray.dir = normalized({ray.time * 0.01f - 0.5f, 0.1f, -1});
        ray.dist = 6;
        miColor c = {0.1f, 0.1f, 0.1f, 1};
        EXPECT_TRUE(Orvane_Volume(&c, &ray, &params));
        return c;
    }

    miFunction volumes[2] = {};
};

// In every other round half of the threads are in the second volume, which is like the first.
TEST_F(VolumeStress, BuildsOnceAndShowsAllThreadsTheSame) {
    std::vector<miColor> alone, at_once(kThreads);
    exit_and(true);
    for (std::size_t i = 0; i < kThreads; ++i) alone.push_back(see_as(i, volumes[0]));
    EXPECT_NE(alone.front().r, alone.back().r);
    for (std::size_t round = 0; round < 30; ++round) {
        exit_and(true);
        host.calls.clear();
        const std::size_t used = 1 + round % 2;
        std::latch start(kThreads);
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < kThreads; ++i)
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                at_once[i] = see_as(i, volumes[i % used]);
            });
        threads.clear();
        EXPECT_EQ(host.count("mi_trace_reflection"), used * 2 * 16);
        EXPECT_EQ(std::memcmp(alone.data(), at_once.data(), kThreads * sizeof(miColor)), 0);
    }
    exit_and(false);
}

}  // namespace
