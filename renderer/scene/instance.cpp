// Instances and groups of them.
#include <cmath>

#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

// Points have no fourth coordinate, so a last column that is not 0 0 0 1 is a slip. Exporters
// round.
Matrix read_matrix(Reader& in, std::string_view what) {
    constexpr float kRounding = 1e-4f;
    Matrix matrix;
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        const Token token = in.peek();
        matrix[i] = in.number(what);
        if (i % 4 != 3) continue;
        if (!(std::abs(matrix[i] - kIdentity[i]) <= kRounding))
            in.fail(token, "number " + std::to_string(i + 1) + " of the " + std::string(what) +
                               " must be " + (i == 15 ? "1" : "0") +
                               ": the last column of a matrix is 0 0 0 1");
        matrix[i] = kIdentity[i];
    }
    return matrix;
}

void read_transform(Reader& in, Instance& instance) {
    if (at_call(in)) return ignore_calls(in, "transform");
    instance.transform = in.at_number() ? read_matrix(in, "transform") : kIdentity;
}

void read_motion(Reader& in, Instance& instance) {
    instance.motion_transform.reset();
    if (in.accept("off")) return;
    in.expect("transform", "or \"off\" after \"motion\"");
    if (in.at_number()) instance.motion_transform = read_matrix(in, "motion transform");
}

// One name, several in brackets, or none.
void read_material_names(Reader& in, Instance& instance) {
    instance.materials.clear();
    if (in.at_string()) {
        instance.materials.push_back(in.resolve(in.string("a material")));
    } else if (in.accept('[')) {
        while (!in.accept(']')) {
            instance.materials.push_back(in.resolve(in.name("a material or \"]\"")));
            in.accept(',');
        }
    }
}

// On or off, or the integer modes of later versions, whose lowest bit counts here.
bool read_flag(Reader& in, std::string_view what) {
    return in.at_integer() ? (in.integer(what, 0, 255) & 1) != 0 : in.flag(what);
}

bool skip_parameters_of_geometry(Reader& in, Instance&) {
    if (!in.peek().is('(')) return false;
    in.warn_once("instance parameters", in.peek().place(), "parameters of instances are ignored");
    in.skip_brackets();
    return true;
}

const Grammar<Instance>& grammar() {
    static const Grammar<Instance> kGrammar = {
        .statements =
            {
                {"hide", [](Reader& in, Instance& i) { i.hide = in.flag("hide"); }},
                {"visible", [](Reader& in, Instance& i) { i.visible = read_flag(in, "visible"); }},
                {"shadow", [](Reader& in, Instance& i) { i.shadow = read_flag(in, "shadow"); }},
                {"trace", [](Reader& in, Instance& i) { i.trace = read_flag(in, "trace"); }},
                {"transform", read_transform},
                {"motion", read_motion},
                {"material", read_material_names},
                {"tag", [](Reader& in, Instance& i) { i.tag = in.label("tag"); }},
                {"override",
                 [](Reader& in, Instance& i) { i.override_flags = in.flag("override"); }},
            },
        .ignored =
            {
                {"shadowmap", {}},
                {"select", {}},
                {"face", {}},
                {"reflection", {}},
                {"refraction", {}},
                {"transparency", {}},
                {"caustic", {}},
                {"globillum", {}},
                {"finalgather", {}},
                {"light", {"shadow"}},
                {"data", {}},
                {"approximate", {}},
                {"shading", {}},
                {"attribute", {}},
            },
        .other = skip_parameters_of_geometry,
    };
    return kGrammar;
}

// Names what is instanced; incremental changes may leave it as it is.
void read_element(Reader& in, Instance& instance) {
    if (in.at_word("geometry")) {
        const Token token = in.take();
        in.warn_once("geometry shader", token.place(),
                     "an instance of a geometry shader stays hidden");
        read_calls(in);
        instance.hide = true;
    } else if (in.at_string() || !in.incremental) {
        instance.element = in.resolve(in.name("the name of an element"));
    }
}

}  // namespace

void read_instance(Reader& in) {
    const Heading heading = in.heading();
    Instance instance = in.begin(&Scene::instances, heading);
    instance.place = heading.place;
    read_element(in, instance);
    read_statements(in, grammar(), heading, instance);
    in.define(&Scene::instances, heading.name, std::move(instance));
}

void read_group(Reader& in) {
    const Heading heading = in.heading();
    in.begin(&Scene::groups, heading);
    Group group;
    group.place = heading.place;
    while (!in.at_end() && !in.at_word("end")) {
        if (in.accept("merge")) {
            in.number("merge");
        } else if (in.accept("tag")) {
            in.label("tag");
        } else if (in.accept("data")) {
            in.name("the name of data");
        } else {
            group.member_places.push_back(in.peek().place());
            group.members.push_back(in.resolve(in.name("the name of an instance")));
        }
    }
    in.close(heading);
    in.define(&Scene::groups, heading.name, std::move(group));
}

}  // namespace orvane::scene
