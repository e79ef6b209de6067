// What the headers of a shared object promise, against the length of its file.
#include "plugin/shared_object.h"

#include <link.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <vector>

#include "scene/memory.h"

namespace orvane::plugin {
namespace {

constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

bool reaches_beyond(std::uint64_t offset, std::uint64_t size, std::uint64_t length) {
    return offset > length || size > length - offset;
}

// A table of headers; false when the file does not hold it.
template <typename T>
bool read_table(std::ifstream& file, std::uint64_t length, std::uint64_t offset, std::size_t count,
                std::vector<T>& table) {
    if (reaches_beyond(offset, count * sizeof(T), length)) return false;
    table.resize(count);
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char*>(table.data()),
              static_cast<std::streamsize>(count * sizeof(T)));
    return static_cast<bool>(file);
}

bool is_own_kind(const ElfW(Ehdr) & header) {
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_ident[EI_CLASS] == kOwnClass && header.e_ident[EI_VERSION] == EV_CURRENT &&
           header.e_type == ET_DYN && header.e_phentsize == sizeof(ElfW(Phdr)) &&
           (header.e_shnum == 0 || header.e_shentsize == sizeof(ElfW(Shdr)));
}

}  // namespace

std::string fault_of_library(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        check_memory(errno);
        return std::strerror(errno);
    }
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(path, error);
    if (error) return error.message();

    std::vector<ElfW(Ehdr)> header;
    std::vector<ElfW(Phdr)> segments;
    std::vector<ElfW(Shdr)> sections;
    if (!read_table(file, length, 0, 1, header) || !is_own_kind(header[0]))
        return "it is no shared library for this system";
    if (!read_table(file, length, header[0].e_phoff, header[0].e_phnum, segments) ||
        !read_table(file, length, header[0].e_shoff, header[0].e_shnum, sections))
        return "the file is cut short";
    const auto is_cut = [length](const ElfW(Phdr) & segment) {
        return segment.p_type != PT_NULL && segment.p_type != PT_GNU_STACK &&
               reaches_beyond(segment.p_offset, segment.p_filesz, length);
    };
    const auto lacks = [length](const ElfW(Shdr) & section) {
        return section.sh_type != SHT_NULL && section.sh_type != SHT_NOBITS &&
               reaches_beyond(section.sh_offset, section.sh_size, length);
    };
    if (std::any_of(segments.begin(), segments.end(), is_cut) ||
        std::any_of(sections.begin(), sections.end(), lacks))
        return "the file is cut short";
    return {};
}

}  // namespace orvane::plugin
