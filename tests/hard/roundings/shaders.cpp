// One instance of any shader, from its init to its exit.

#include "cases.h"
#include "toon/toon_lines.h"
#include "volumetric/light_set.h"

namespace {

constexpr int kRays = 6;

using Init = void(miState*, void*, miBoolean*);
using Exit = void(miState*, void*);
using Call = miBoolean(void*, miState*, void*);

miBoolean accept(miColor*, miState*, void*, zel_ct_store*) { return miTRUE; }

class Instance {
  public:
    Instance(const Shader& shader, Case* c)
        : shader_(shader),
          case_(*c),
          stage_(c->plugin, c->shader("Orvane_Light"), &c->random),
          block_(fill(shader, stage_.tags, c->random)),
          connected_(block_.size()) {
        stage_.function.parameters = block_.data();
        stage_.function.parameter_size = static_cast<int>(block_.size() * 4);
        if (shader.name == "Orvane_Light") connect();
        if (shader.name == "Orvane_Volume") catch_depths();
    }

    // A shader that cannot run says so and ends its render.
    void live() {
        try {
            init();
            for (int i = 0; i < kRays; ++i) shade();
        } catch (const scripted::Fatal& fatal) {
            add_text(fatal.what());
        }
        record_maps();
        zel_ct_store_exit();
        if (const auto exit = find<Exit>("_exit")) {
            exit(&stage_.state, block_.data());
            exit(&stage_.state, nullptr);
        }
        case_.record.add("block", block_.data(), block_.size());
        stage_.record(&case_.record);
    }

  private:
    template <typename Function>
    Function* find(const char* suffix) const {
        return case_.plugin.find<Function>(shader_.name + suffix);
    }

    void connect() {
        connected_[1] = static_cast<unsigned char>(case_.random.below(2));
        stage_.function.connected = connected_.data();
    }

    void catch_depths() {
        stage_.depth_ray = [this](miState* from) {
            miState ray = *from;
            ray.type = miRAY_REFLECT;
            ray.dist = case_.random.one_in(4) ? 0 : case_.random.number(0, 20);
            miColor color = {};
            find<Call>("")(&color, &ray, block_.data());
        };
    }

    void init() {
        const auto init = find<Init>("_init");
        miBoolean wanted = miFALSE;
        if (init) init(&stage_.state, nullptr, &wanted);
        if (init && wanted) init(&stage_.state, block_.data(), nullptr);
    }

    // Materials are sometimes seen by a toon lens.
    void shade() {
        stage_.begin_ray();
        miState& state = stage_.state;
        if (shader_.kind == "material" && case_.random.one_in(3)) enter_grid();
        miColor result = case_.random.color();
        const miBoolean answer = find<Call>("")(&result, &state, block_.data());
        ++case_.calls;
        case_.record.add("answer", answer);
        case_.record.add("result", result);
        record_grid();
    }

    void enter_grid() {
        if (!store_.tag)
            case_.plugin.find<decltype(zel_ct_init)>("zel_ct_init")(
                &store_, 1, sizeof(zel_toon_record), accept, nullptr);
        store_.current = case_.random.below(kGrid);
        stage_.state.user = &store_, stage_.state.user_size = 4;
    }

    void record_grid() {
        if (!stage_.state.user || stage_.state.user != &store_ || !store_.flags) return;
        const int k = store_.current;
        case_.record.add("recorded color", store_.color[k]);
        case_.record.add("recorded normal", store_.normal[k]);
        case_.record.add("recorded depth", store_.depth[k]);
        const auto& lines = records_of(&store_)[k];
        case_.record.add("lines", &lines.width, offsetof(zel_toon_record, group_labels) / 4);
        store_.flags = 0;
    }

    void zel_ct_store_exit() {
        if (store_.tag) case_.plugin.find<decltype(zel_ct_exit)>("zel_ct_exit")(&store_);
    }

    void record_maps() {
        if (shader_.name != "Orvane_Volume" || !stage_.function.user) return;
        const auto& shared = *static_cast<const VolumeShared*>(stage_.function.user);
        case_.record.add("fog_base", shared.fog_base);
        for (int l = 0; l < shared.light_count; ++l) {
            const VolumeLight& light = shared.lights[l];
            case_.record.add("map matrices", light.from_map, 32);
            const auto n = static_cast<std::size_t>(light.map_resolution);
            for (std::size_t i = 0; i < n; ++i) {
                case_.record.add("intensity map", light.inten[i], n);
                case_.record.add("depth map", light.depth[i], n);
            }
        }
    }

    void add_text(std::string text) {
        text.resize((text.size() + 3) / 4 * 4);
        case_.record.add("fatal message", reinterpret_cast<const miUint*>(text.data()),
                         text.size() / 4);
    }

    const Shader& shader_;
    Case& case_;
    Stage stage_;
    std::vector<miUint> block_;
    std::vector<unsigned char> connected_;
    zel_ct_store store_ = {};
};

}  // namespace

void call_shader(const Shader& shader, Case* c) { Instance(shader, c).live(); }
