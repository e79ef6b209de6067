// The tagged allocator of shaders.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "frame/host.h"
#include "scene/memory.h"
#include "world/render.h"

namespace orvane::world {

OutOfMemory::OutOfMemory(const char* file, int line, int size) {
    const char* name = file ? file : "?";
    if (size < 0)
        std::snprintf(text.data(), text.size(),
                      "out of memory: %.60s:%d asks for more than 2147483647 bytes at once", name,
                      line);
    else
        std::snprintf(text.data(), text.size(), "out of memory: %.60s:%d asks for %d bytes", name,
                      line, size);
}

void Allocator::link(Shard& shard, Header* header) {
    header->previous = nullptr;
    header->next = shard.first;
    if (shard.first) shard.first->previous = header;
    shard.first = header;
}

void Allocator::unlink(Shard& shard, Header* header) {
    if (header->previous) header->previous->next = header->next;
    if (header->next) header->next->previous = header->previous;
    if (shard.first == header) shard.first = header->next;
}

bool Allocator::reserve(std::size_t size) {
    static const std::size_t most = physical_memory();
    if (held_.fetch_add(size, std::memory_order_relaxed) <= most - std::min(size, most))
        return true;
    held_.fetch_sub(size, std::memory_order_relaxed);
    return false;
}

void* Allocator::allocate(const char* file, int line, std::size_t size) {
    if (!reserve(size)) return nullptr;
    auto* header = static_cast<Header*>(std::calloc(1, kHeader + size));
    if (!header) {
        held_.fetch_sub(size, std::memory_order_relaxed);
        return nullptr;
    }
    const std::size_t hash = std::hash<std::thread::id>{}(std::this_thread::get_id());
    header->shard = static_cast<unsigned>((hash >> 12 ^ hash) % shards_.size());
    header->file = file ? file : "?";
    header->line = line;
    header->size = size;
    Shard& shard = shards_[header->shard];
    const std::scoped_lock guard(shard.mutex);
    link(shard, header);
    return reinterpret_cast<std::byte*>(header) + kHeader;
}

void* Allocator::reallocate(const char* file, int line, void* p, std::size_t size) {
    if (!p) return allocate(file, line, size);
    auto* header = reinterpret_cast<Header*>(static_cast<std::byte*>(p) - kHeader);
    const std::size_t before = header->size;
    if (!reserve(size)) return nullptr;
    Shard& shard = shards_[header->shard];
    const std::scoped_lock guard(shard.mutex);
    unlink(shard, header);
    auto* moved = static_cast<Header*>(std::realloc(header, kHeader + size));
    if (moved) {
        header = moved;
        header->file = file ? file : "?";
        header->line = line;
        header->size = size;
        auto* bytes = reinterpret_cast<std::byte*>(header) + kHeader;
        if (size > before) std::memset(bytes + before, 0, size - before);
    }
    held_.fetch_sub(moved ? before : size, std::memory_order_relaxed);
    link(shard, header);
    return moved ? reinterpret_cast<std::byte*>(header) + kHeader : nullptr;
}

void Allocator::release(void* p) {
    if (!p) return;
    auto* header = reinterpret_cast<Header*>(static_cast<std::byte*>(p) - kHeader);
    {
        Shard& shard = shards_[header->shard];
        const std::scoped_lock guard(shard.mutex);
        unlink(shard, header);
    }
    held_.fetch_sub(header->size, std::memory_order_relaxed);
    std::free(header);
}

std::vector<std::string> Allocator::leaks() const {
    struct Sum {
        std::size_t blocks = 0, bytes = 0;
    };
    std::map<std::string, Sum> sums;
    for (const Shard& shard : shards_) {
        const std::scoped_lock guard(shard.mutex);
        for (const Header* header = shard.first; header; header = header->next) {
            Sum& sum = sums[header->file + (":" + std::to_string(header->line))];
            ++sum.blocks;
            sum.bytes += header->size;
        }
    }
    std::vector<std::string> lines;
    for (const auto& [place, sum] : sums)
        lines.push_back(place + ": " + std::to_string(sum.blocks) + " blocks, " +
                        std::to_string(sum.bytes) + " bytes");
    return lines;
}

void Allocator::release_all() {
    for (Shard& shard : shards_)
        while (shard.first) release(reinterpret_cast<std::byte*>(shard.first) + kHeader);
}

}  // namespace orvane::world

using namespace orvane::world;

namespace {

// A picture that was made without something that a shader had no memory for is none.
void* had(void* p, const char* file, int line, int size) {
    if (!p && size != 0)
        current_render()->end(std::make_exception_ptr(OutOfMemory(file, line, size)));
    return p;
}

}  // namespace

extern "C" {

void* mi_mem_int_allocate(const char* file, int line, int size) {
    void* p = nullptr;
    if (size > 0)
        p = current_render()->allocator.allocate(file, line, static_cast<std::size_t>(size));
    return had(p, file, line, size);
}

void* mi_mem_int_reallocate(const char* file, int line, void* p, int size) {
    void* moved = nullptr;
    if (size > 0)
        moved =
            current_render()->allocator.reallocate(file, line, p, static_cast<std::size_t>(size));
    return had(moved, file, line, size);
}

void mi_mem_int_release(const char*, int, void* p) { current_render()->allocator.release(p); }
}
