// The one current render: what operations of the contract that are given no state work on.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "frame/host.h"
#include "world/world.h"

namespace orvane::world {

constexpr int kMaxThreads = 96;

// Thrown through a shader that called mi_fatal, or that waits for a lock while the render ends.
// details holds the line of the scene that calls the shader.
struct Fatal : std::exception {
    explicit Fatal(std::string text, std::string details = {})
        : text(std::move(text)), details(std::move(details)) {}
    const char* what() const noexcept override { return text.c_str(); }
    std::string text, details;
};

// Thrown when a shader's allocation failed, whatever the shader made of it.
struct OutOfMemory : std::bad_alloc {
    OutOfMemory(const char* file, int line, int size);
    const char* what() const noexcept override { return text.data(); }
    std::array<char, 128> text;  // nothing that needs memory itself
};

// The tagged allocator: knows every block that is out. More than the machine's memory it does not
// give, which the system might promise and then end the program over.
class Allocator {
  public:
    ~Allocator() { release_all(); }
    void* allocate(const char* file, int line, std::size_t size);
    void* reallocate(const char* file, int line, void* p, std::size_t size);
    void release(void* p);
    // One line a source line that left blocks behind: "Orvane_Light:40: 2 blocks, 64 bytes".
    std::vector<std::string> leaks() const;
    void release_all();

  private:
    struct Header {
        Header* previous;
        Header* next;
        const char* file;
        std::size_t size;
        int line;
        unsigned shard;
    };
    static constexpr std::size_t kHeader = (sizeof(Header) + 15) / 16 * 16;
    struct alignas(64) Shard {
        mutable std::mutex mutex;
        Header* first = nullptr;
    };

    static void link(Shard& shard, Header* header);
    static void unlink(Shard& shard, Header* header);
    bool reserve(std::size_t size);

    std::array<Shard, 16> shards_;
    std::atomic<std::size_t> held_ = 0;  // bytes
};

class Render;

// A lock for shaders: waiting ends with what ended the render, when it is ending.
class Lock {
  public:
    explicit Lock(Render& render) : render_(render) {}
    void lock();
    void unlock();
    void wake();

  private:
    Render& render_;
    std::mutex mutex_;
    std::condition_variable free_;
    bool held_ = false;
    std::thread::id owner_;
};

class Render {
  public:
    // Makes this render the current one until it goes; there can be one at a time.
    explicit Render(World& world);
    ~Render();
    Render(const Render&) = delete;
    Render& operator=(const Render&) = delete;

    World& world;
    Allocator allocator;

    Lock* make_lock();
    void delete_lock(Lock* lock);
    Lock* global_lock() { return global_lock_; }

    // Ends the render from any thread: shaders see mi_par_aborted, threads that wait for a lock
    // throw why, too. Of several reasons the first one counts.
    void end(std::exception_ptr why);
    bool ending() const { return ending_.load(std::memory_order_relaxed); }
    [[noreturn]] void throw_why();
    // Throws why when the render is ending.
    void check() {
        if (ending()) throw_why();
    }

    // Room for the values of connected parameters, one ring a thread: see mi_phen_eval.
    void* result_slot(int thread);

  private:
    struct alignas(64) Ring {
        std::array<std::array<std::byte, 256>, 32> slots;
        unsigned next = 0;
    };

    std::mutex locks_mutex_;
    std::vector<std::unique_ptr<Lock>> locks_;
    Lock* global_lock_ = nullptr;
    std::atomic<bool> ending_ = false;
    std::exception_ptr why_;
    std::array<std::unique_ptr<Ring>, kMaxThreads> rings_;
};

// The current render, or null.
Render* current_render();

// Set from outside, by a signal: the frame is closed with what is done.
void abort_render();
bool render_aborted();
void clear_abort();

// Calls a shader instance with its parameter block, connected parameters evaluated before.
miBoolean call(const Function& function, void* result, miState* state);

// Calls the entries of a list one after the other on the same result; returns what the last
// one returned, miFALSE for an empty list.
miBoolean call(const ListEntry* list, miColor* result, miState* state);

// The shader that runs in this thread, or null: for operations that are given no state.
const Function*& running_here();

// The running shader of a state, or null.
const Function* running(const miState* state);

// The value of a parameter of the running shader: see mi_phen_eval.
void* evaluate_parameter(miState* state, void* parameter);

// The list that a tag in a state names, or null.
const ListEntry* list_of(miTag tag);

// A state at the camera, before any ray: thread 0, looking along the viewing axis.
miState initial_state(Render& render);

}  // namespace orvane::world
