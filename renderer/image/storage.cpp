// Storing picture files.
//
// The bytes go to a hidden file ".name.process.part", which is locked while it is written: what a
// killed run left is told from what another one is writing by its process and its lock.

#include "image/storage.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace orvane::image {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPart = ".part";

[[noreturn]] void throw_errno(int number = errno) {
    throw std::runtime_error(std::strerror(number));
}

class Descriptor {
  public:
    Descriptor(const fs::path& file, int flags) : number_(open(file.c_str(), flags, 0666)) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return number_; }
    bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

  private:
    int number_;
};

void write_all(const fs::path& file, const std::vector<std::uint8_t>& bytes) {
    Descriptor out(file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
    if (out.number() < 0) throw_errno();
    flock(out.number(), LOCK_EX | LOCK_NB);
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count = write(out.number(), bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR) throw_errno();
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    if (!out.close()) throw_errno();
}

// The hidden names of a file begin so; the longest name that a file can have leaves them room.
std::string hidden_beginning(const fs::path& file) {
    return '.' + file.filename().string().substr(0, 200) + '.';
}

bool is_alive(std::string_view process) {
    pid_t number = 0;
    const auto [end, error] =
        std::from_chars(process.data(), process.data() + process.size(), number);
    const bool is_number = error == std::errc() && end == process.data() + process.size();
    return !is_number || number <= 0 || kill(number, 0) == 0 || errno != ESRCH;
}

bool is_locked(const fs::path& file) {
    const Descriptor in(file, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    return in.number() < 0 || flock(in.number(), LOCK_EX | LOCK_NB) != 0;
}

void remove_leftovers(const fs::path& folder, const std::string& beginning) {
    std::error_code ignored;
    for (fs::directory_iterator at(folder.empty() ? "." : folder, ignored), end;
         !ignored && at != end; at.increment(ignored)) {
        const std::string name = at->path().filename().string();
        if (!name.starts_with(beginning) || !name.ends_with(kPart)) continue;
        std::string_view process = name;
        process.remove_prefix(beginning.size());
        process.remove_suffix(std::min(kPart.size(), process.size()));
        std::error_code failed;
        if (!is_alive(process) && !is_locked(at->path())) fs::remove(at->path(), failed);
    }
}

void store_complete(const fs::path& file, const std::vector<std::uint8_t>& bytes) {
    const std::string beginning = hidden_beginning(file);
    remove_leftovers(file.parent_path(), beginning);
    const fs::path partial =
        file.parent_path() / (beginning + std::to_string(getpid()) + std::string(kPart));
    try {
        write_all(partial, bytes);
        if (std::rename(partial.c_str(), file.c_str()) != 0) throw_errno();
    } catch (const std::runtime_error&) {
        std::error_code ignored;
        fs::remove(partial, ignored);
        throw;
    }
}

bool is_stream(const fs::file_status& status) {
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

// The file itself where a link leads to it.
fs::path target(const fs::path& file) {
    std::error_code error;
    return fs::is_symlink(file, error) ? fs::weakly_canonical(file) : file;
}

// Whether new files can be made in a folder, or in one that is yet to be made there.
void check_folder(fs::path folder) {
    std::error_code error;
    while (!folder.empty() && fs::status(folder, error).type() == fs::file_type::not_found)
        folder = folder.parent_path();
    if (folder.empty()) folder = ".";
    if (!fs::is_directory(folder, error)) throw_errno(error ? error.value() : ENOTDIR);
    if (access(folder.c_str(), W_OK | X_OK) != 0) throw_errno();

    // Systems that do not count tell 0 of 0.
    struct statvfs space {};
    if (statvfs(folder.c_str(), &space) != 0) return;
    const auto free = geteuid() == 0 ? space.f_bfree : space.f_bavail;
    if ((space.f_blocks > 0 && free == 0) || (space.f_files > 0 && space.f_ffree == 0))
        throw_errno(ENOSPC);
}

}  // namespace

void check_storable(const fs::path& file) {
    if (file.native().find('\0') != std::string::npos)
        throw std::runtime_error("its name holds a NUL character");
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::none) throw_errno(error.value());
    if (fs::is_directory(status) || !file.has_filename()) throw_errno(EISDIR);
    if (!is_stream(status)) return check_folder(target(file).parent_path());
    if (access(file.c_str(), W_OK) != 0) throw_errno();
}

void store(const fs::path& file, const std::vector<std::uint8_t>& bytes) {
    std::error_code error;
    if (file.has_parent_path()) fs::create_directories(file.parent_path(), error);
    if (error) throw std::runtime_error(error.message());
    if (is_stream(fs::status(file, error))) return write_all(file, bytes);
    store_complete(target(file), bytes);
}

}  // namespace orvane::image
