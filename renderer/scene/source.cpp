// Reading of scene files as a whole.
#include "scene/source.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

#include "scene/memory.h"

namespace orvane::scene {

namespace {

std::string read_all(std::istream& stream, std::uintmax_t expected_size) {
    std::string text;
    text.resize(expected_size);
    stream.read(text.data(), static_cast<std::streamsize>(expected_size));
    text.resize(static_cast<std::size_t>(stream.gcount()));

    // What is not a plain file (a pipe) tells its size only at its end.
    text.append(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    return text;
}

}  // namespace

std::unique_ptr<Source> read_source(const std::filesystem::path& file, std::string& why) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) {
        why = "it is a folder";
        return nullptr;
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        check_memory(errno);
        why = std::strerror(errno);
        return nullptr;
    }
    const bool plain = std::filesystem::is_regular_file(file, error);
    const std::uintmax_t size = plain ? std::filesystem::file_size(file, error) : 0;
    auto source = std::make_unique<Source>();
    source->text = read_all(stream, error ? 0 : size);
    source->name = std::make_shared<std::string>(file.string());
    source->directory = file.parent_path();
    source->identity = std::filesystem::weakly_canonical(file, error);
    return source;
}

std::unique_ptr<Source> read_standard_input() {
    auto source = std::make_unique<Source>();
    source->text = read_all(std::cin, 0);
    source->name = std::make_shared<std::string>("<stdin>");
    return source;
}

}  // namespace orvane::scene
