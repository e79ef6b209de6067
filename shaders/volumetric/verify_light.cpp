// From a light instance to its Orvane_Light block, item by item.

#include "volumetric/verify_light.h"

#include <cstring>

#include "frame/host.h"

namespace {

// The item that a query about another one leads to, if it is of this type.
bool leads_to(miState* state, int code, miTag from, int type, miTag* to) {
    return mi_query(code, state, from, to) && mi_db_type(*to) == type;
}

bool is_orvane_light(miState* state, miTag function) {
    miTag declaration = 0;
    const char* name = nullptr;
    return leads_to(state, miQ_FUNC_DECL, function, miITEM_DECLARATION, &declaration) &&
           mi_query(miQ_DECL_NAME, state, declaration, &name) && name &&
           std::strcmp(name, "Orvane_Light") == 0;
}

}  // namespace

extern "C" {

miBoolean qv_VerifyLight(miState* state, miTag instance, miVector* origin, miVector* direction,
                         int* type, Orvane_Light_params** params) {
    miTag light = 0, function = 0;
    if (mi_db_type(instance) != miITEM_INSTANCE ||
        !leads_to(state, miQ_INST_ITEM, instance, miITEM_LIGHT, &light) ||
        !leads_to(state, miQ_LIGHT_SHADER, light, miITEM_FUNCTION, &function) ||
        !is_orvane_light(state, function) || !mi_query(miQ_FUNC_PARAM, state, function, params))
        return miFALSE;

    const miScalar* to_world = nullptr;
    if (!mi_query(miQ_LIGHT_TYPE, state, light, type) ||
        !mi_query(miQ_LIGHT_ORIGIN, state, light, origin) ||
        !mi_query(miQ_LIGHT_DIRECTION, state, light, direction) ||
        !mi_query(miQ_INST_LOCAL_TO_GLOBAL, state, instance, &to_world))
        return miFALSE;
    if (*type != miLIGHT_POINT && is_zero(*direction)) *direction = {0, 0, -1};
    mi_vector_transform(direction, direction, to_world);
    mi_vector_from_world(state, direction, direction);
    mi_point_transform(origin, origin, to_world);
    mi_point_from_world(state, origin, origin);
    return miTRUE;
}
}
