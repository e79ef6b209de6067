// What the tests of the lenses share: a camera with lens shaders, and places in the picture.
#pragma once

#include <deque>

#include "scripted/host.h"
#include "toon/contour.h"

class LensFixture : public scripted::Renderer {
  protected:
    LensFixture() {
        function.identity = &function;
        state.raster_x = 50.5f, state.raster_y = 60.5f;
        zel_ct_raster_dir(&state, &state.dir, state.raster_x, state.raster_y);
    }

    // Puts a lens shader on the camera, behind those that are there: an instance of the running
    // shader or of another one. The list's last tag is the shader's function.
    void attach(bool same) {
        miFunction& shader = functions.emplace_back();
        shader.identity = same ? &function : nullptr;
        Entry& entry = entries.emplace_back();
        entry.list.next = camera.lens, entry.list.count = 2;
        entry.list.tags[0] = host.add({miITEM_FUNCTION, &function, {}});
        entry.last = host.add({miITEM_FUNCTION, &shader, {}});
        camera.lens = host.add({miITEM_SHADER_LIST, &entry, {}});
    }

    static miVector place(const miVector& dir) {
        return {100 * (dir.x / -dir.z + 0.5f), 100 * (dir.y / -dir.z + 0.5f), 0};
    }

    struct Entry {
        miShaderList list;
        miTag last;
    };
    std::deque<miFunction> functions;
    std::deque<Entry> entries;
};
