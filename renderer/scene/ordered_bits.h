// A set of small numbers that tells the next one in it.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvane::scene {

// Words of 64 bits, above them words that tell which of those are not 0, and so on up to one word.
class OrderedBits {
  public:
    static constexpr std::size_t kEnd = static_cast<std::size_t>(-1);

    explicit OrderedBits(std::size_t count) {
        do levels_.emplace_back(count = (count + 63) / 64);
        while (count > 1);
    }

    void insert(std::size_t i) {
        for (auto& level : levels_) level[i / 64] |= std::uint64_t{1} << i % 64, i /= 64;
    }

    void erase(std::size_t i) {
        for (auto& level : levels_) {
            level[i / 64] &= ~(std::uint64_t{1} << i % 64);
            if (level[i / 64] != 0) return;
            i /= 64;
        }
    }

    // The least number in the set from i on, or kEnd.
    std::size_t next(std::size_t i) const {
        for (std::size_t level = 0; level < levels_.size(); ++level) {
            if (i / 64 >= levels_[level].size()) return kEnd;
            const std::uint64_t rest = levels_[level][i / 64] >> i % 64;
            if (rest == 0) {
                i = i / 64 + 1;
                continue;
            }
            i += static_cast<std::size_t>(std::countr_zero(rest));
            while (level-- > 0)
                i = i * 64 + static_cast<std::size_t>(std::countr_zero(levels_[level][i]));
            return i;
        }
        return kEnd;
    }

  private:
    std::vector<std::vector<std::uint64_t>> levels_;
};

}  // namespace orvane::scene
