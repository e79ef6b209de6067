// The tagged allocator of shaders.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "frame/host.h"
#include "world/render.h"

namespace orvane::world {

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

void* Allocator::allocate(const char* file, int line, std::size_t size) {
    auto* header = static_cast<Header*>(std::calloc(1, kHeader + size));
    if (!header) return nullptr;
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

using orvane::world::current_render;

extern "C" {

void* mi_mem_int_allocate(const char* file, int line, int size) {
    return size <= 0
               ? nullptr
               : current_render()->allocator.allocate(file, line, static_cast<std::size_t>(size));
}

void* mi_mem_int_reallocate(const char* file, int line, void* p, int size) {
    return size <= 0 ? nullptr
                     : current_render()->allocator.reallocate(file, line, p,
                                                              static_cast<std::size_t>(size));
}

void mi_mem_int_release(const char*, int, void* p) { current_render()->allocator.release(p); }
}
