// How much a scene may hold; what goes beyond is refused in a line with its place.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvane::scene {

// Namespaces in each other, all of which a name is looked for in, and the characters of their
// names.
inline constexpr std::size_t kDeepestNamespace = 32, kLongestNamespaces = 1024;

// Things of one kind in each other: includes, groups, shaders in parameters of shaders.
// All are followed by recursion, whose stack this bounds.
inline constexpr std::size_t kDeepest = 256;

// Files that a scene includes, each as often as it does: a few that include each other twice are
// many.
inline constexpr std::size_t kMostIncludes = 20'000;

// Bytes of their texts, which are kept, and of a name in which entries of the registry stand.
inline constexpr std::size_t kMostIncluded = std::size_t{1} << 29, kLongestName = 1 << 16;

// Leaves of the instance tree, each of which takes memory in the world and in the ray structure.
inline constexpr std::uint64_t kMostInstances = 10'000'000;

}  // namespace orvane::scene
