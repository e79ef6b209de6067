// Codes of mi_query, and the item types that mi_db_type answers.
#pragma once

#include "frame/types.h"

enum miQuery : int {
    miQ_INST_LOCAL_TO_GLOBAL = 5,  // instance -> const miScalar*: own space into world space
    miQ_INST_ITEM = 7,             // instance -> miTag: what it places
    miQ_LIGHT_TYPE = 23,           // light -> int: miLightType
    miQ_LIGHT_SHADER = 29,         // light -> miTag: function of its first shader
    miQ_LIGHT_ORIGIN = 31,         // light -> miVector, in the light's own space
    miQ_LIGHT_DIRECTION = 32,      // light -> miVector, in the light's own space
    miQ_LIGHT_SPREAD = 40,         // light -> miScalar: cosine of the outer cone's half angle
    miQ_FUNC_USERPTR = 51,         // state, tag 0 -> void**: address of the user pointer
    miQ_FUNC_DECL = 54,            // function -> miTag: its declaration
    miQ_FUNC_PARAM = 59,           // function -> void*: its parameter block
    miQ_DECL_NAME = 63,            // declaration -> const char*: the declared name
};

enum miItem : int {
    miITEM_NONE = 0,  // no item has this tag
    miITEM_DECLARATION = 1,
    miITEM_FUNCTION = 2,
    miITEM_MATERIAL = 3,
    miITEM_LIGHT = 4,
    miITEM_CAMERA = 5,
    miITEM_OPTIONS = 6,
    miITEM_OBJECT = 7,
    miITEM_TEXTURE = 8,
    miITEM_GROUP = 9,
    miITEM_INSTANCE = 10,
    miITEM_SHADER_LIST = 11,
    miITEM_STRING = 12,
};
