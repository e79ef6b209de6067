// What a test expects of a pixel.
#pragma once

#include <gmock/gmock.h>

#include "frame/types.h"

namespace orvane::image {

inline testing::Matcher<const miColor&> Is(float r, float g, float b, float a,
                                           float tolerance = 1e-4f) {
    const auto near = [=](float value) { return testing::FloatNear(value, tolerance); };
    return testing::FieldsAre(near(r), near(g), near(b), near(a));
}

}  // namespace orvane::image
