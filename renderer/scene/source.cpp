// Reading of scene files as a whole.
#include "scene/source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "scene/errors.h"
#include "scene/memory.h"

namespace orvane::scene {

namespace {

class Descriptor {
  public:
    explicit Descriptor(int number) : number(number) {}
    ~Descriptor() { close(number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    const int number;
};

// A pipe may keep silent for long, and a file be large: so the way to the end has many steps.
bool read_all(int descriptor, const Stop& stop, std::string& text, std::string& why) {
    constexpr std::size_t kStep = 1 << 20;
    constexpr int kPatience = 100;  // milliseconds
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        text.reserve(static_cast<std::size_t>(status.st_size) + 1);
    for (;;) {
        if (stop && stop()) throw Stopped{};
        pollfd ready = {descriptor, POLLIN, 0};
        if (poll(&ready, 1, kPatience) <= 0) continue;
        const std::size_t size = text.size();
        text.resize(size + std::min(kStep, std::max<std::size_t>(text.capacity() - size, 4096)));
        const ssize_t got = read(descriptor, text.data() + size, text.size() - size);
        text.resize(size + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (got == 0) return true;
        if (got > 0 || errno == EINTR || errno == EAGAIN) continue;
        why = std::strerror(errno);
        return false;
    }
}

}  // namespace

std::unique_ptr<Source> read_source(const std::filesystem::path& file, const Stop& stop,
                                    std::string& why) {
    // A pipe that nobody writes to is not waited for here.
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (descriptor.number < 0 || fstat(descriptor.number, &status) != 0) {
        check_memory(errno);
        why = std::strerror(errno);
        return nullptr;
    }
    if (S_ISDIR(status.st_mode) || S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
        why = S_ISDIR(status.st_mode) ? "it is a folder" : "it is a device";
        return nullptr;
    }
    auto source = std::make_unique<Source>();
    if (!read_all(descriptor.number, stop, source->text, why)) return nullptr;
    std::error_code error;
    source->name = std::make_shared<std::string>(file.string());
    source->directory = file.parent_path();
    source->identity = std::filesystem::weakly_canonical(file, error);
    return source;
}

std::unique_ptr<Source> read_standard_input(const Stop& stop, std::string& why) {
    auto source = std::make_unique<Source>();
    if (!read_all(STDIN_FILENO, stop, source->text, why)) return nullptr;
    source->name = std::make_shared<std::string>("<stdin>");
    return source;
}

}  // namespace orvane::scene
