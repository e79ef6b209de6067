// Where a scene that is not trusted may read and write.
#pragma once

#include <filesystem>
#include <vector>

namespace orvane::scene {

// Asked wherever a name in a scene becomes a file. Symbolic links count as what they lead to.
class Fence {
  public:
    // No fence: a scene may name any file.
    Fence() = default;
    // readable: folders whose files may be read, with all that is below them; own: the same
    // without what is below them; outputs: the folder that names of outputs are relative to, and
    // that they may not leave. A folder that is not there opens nothing.
    Fence(const std::vector<std::filesystem::path>& readable,
          const std::vector<std::filesystem::path>& own, const std::filesystem::path& outputs);

    bool is_on() const { return !outputs_.empty(); }
    bool may_read(const std::filesystem::path& file) const;
    // The file that the name of an output stands for, or an empty path when it may not be written.
    std::filesystem::path output(const std::filesystem::path& name) const;

  private:
    std::vector<std::filesystem::path> readable_, own_;  // in canonical form
    std::filesystem::path outputs_;
};

}  // namespace orvane::scene
