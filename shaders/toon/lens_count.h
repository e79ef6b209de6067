// How many lens shaders of the running kind the camera has. Lenses that keep one store a render
// thread cannot share it: two on one camera disable each other.
#pragma once

#include "frame/host.h"

// Whether a shader function is an instance of the running shader.
static inline bool runs_same_shader(const miState* state, miTag function) {
    const auto* record = static_cast<const miFunction*>(mi_db_access(function));
    const bool same = record && record->identity == state->shader->identity;
    mi_db_unpin(function);
    return same;
}

static inline int count_lenses(const miState* state) {
    int count = 0;
    miTag entry = state->camera->lens;
    while (entry != miNULLTAG) {
        const auto* list = static_cast<const miShaderList*>(mi_db_access(entry));
        const miTag* tags = list ? list->tags : nullptr;
        if (list && list->count > 0) count += runs_same_shader(state, tags[list->count - 1]);
        const miTag next = list ? list->next : miNULLTAG;
        mi_db_unpin(entry);
        entry = next;
    }
    return count;
}

// Counts them into a block of its own at the instance's user pointer, under the render's lock.
// Returns the count; -1 when there is no memory for it.
static inline int register_lens(miState* state, const char* source) {
    void** user = nullptr;
    mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user);
    if (!user) return 0;
    *user = mi_mem_int_allocate(source, __LINE__, sizeof(miInteger));
    if (!*user) return -1;
    return *static_cast<miInteger*>(*user) = count_lenses(state);
}

static inline void unregister_lens(miState* state, const char* source) {
    void** user = nullptr;
    mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user);
    if (!user || !*user) return;
    mi_mem_int_release(source, __LINE__, *user);
    *user = nullptr;
}

// Whether the running instance shares its camera with others of its kind.
static inline bool is_disabled(miState* state) {
    void** user = nullptr;
    return mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &user) && user && *user &&
           *static_cast<const miInteger*>(*user) > 1;
}
