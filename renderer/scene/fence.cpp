// Paths in canonical form, and what lies below what.
#include "scene/fence.h"

#include <algorithm>

namespace orvane::scene {

namespace fs = std::filesystem;

namespace {

// Both in canonical form.
bool is_below(const fs::path& file, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), file.begin(), file.end()).first ==
           folder.end();
}

// Where a name leads, whether there is something or not; empty for what leads nowhere.
fs::path resolved(const fs::path& name) {
    std::error_code error;
    const fs::path file = fs::weakly_canonical(fs::absolute(name, error), error);
    return error ? fs::path() : file;
}

std::vector<fs::path> existing(const std::vector<fs::path>& folders) {
    std::vector<fs::path> found;
    for (const fs::path& folder : folders) {
        std::error_code error;
        const fs::path path = fs::canonical(folder.empty() ? "." : folder, error);
        if (!error) found.push_back(path);
    }
    return found;
}

}  // namespace

Fence::Fence(const std::vector<fs::path>& readable, const std::vector<fs::path>& own,
             const fs::path& outputs)
    : readable_(existing(readable)), own_(existing(own)), outputs_(outputs) {}

bool Fence::may_read(const fs::path& name) const {
    if (!is_on()) return true;
    const fs::path file = resolved(name);
    return std::any_of(readable_.begin(), readable_.end(),
                       [&file](const fs::path& folder) { return is_below(file, folder); }) ||
           std::find(own_.begin(), own_.end(), file.parent_path()) != own_.end();
}

fs::path Fence::output(const fs::path& name) const {
    if (!is_on()) return name;
    const fs::path file = outputs_ / name;
    return is_below(resolved(file), resolved(outputs_)) ? file : fs::path();
}

}  // namespace orvane::scene
