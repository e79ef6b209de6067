// Where picture files go: complete or not at all.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace orvane::image {

// Throws std::runtime_error with the reason when a file cannot be stored there, as far as that is
// known beforehand. Changes nothing.
void check_storable(const std::filesystem::path& file);

// Writes the bytes beside the final name and renames them when all are there, creating the folder
// when it is missing. A device or a pipe is written to, a file that a link leads to replaced where
// it is. What killed runs left of the same file is removed. Throws std::runtime_error.
void store(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes);

}  // namespace orvane::image
