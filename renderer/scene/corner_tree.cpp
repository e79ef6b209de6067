// A tree of boxes, split at the median of their longer side.
#include "scene/corner_tree.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace orvane::scene {

namespace {

constexpr std::size_t kLeaf = 8;

std::size_t middle(std::size_t begin, std::size_t end) { return begin + (end - begin) / 2; }

}  // namespace

// The triangle that is looked through.
struct CornerTree::Search {
    const Corner &a, &b, &c;
    Index first, tip, last;
    bool touching_allowed;

    // Whether all of a box lies right of an edge, by more than area() may be off.
    static bool is_right_of(const Corner& from, const Corner& to, const Box& box) {
        const double dx = to.x - from.x, dy = to.y - from.y;
        const double up = dx * ((dx > 0 ? box.high_y : box.low_y) - from.y);
        const double across = dy * ((dy > 0 ? box.low_x : box.high_x) - from.x);
        return up - across < -1e-13 * (std::abs(up) + std::abs(across));
    }

    bool misses(const Box& box) const {
        if (is_right_of(a, b, box) || is_right_of(b, c, box) || is_right_of(c, a, box)) return true;
        const auto [low_x, high_x] = std::minmax({a.x, b.x, c.x});
        const auto [low_y, high_y] = std::minmax({a.y, b.y, c.y});
        const double margin = 1e-9 * (high_x - low_x + high_y - low_y);
        if (box.low_x > high_x + margin || box.high_x < low_x - margin ||
            box.low_y > high_y + margin || box.high_y < low_y - margin)
            return true;
        const Corner point = {box.low_x, box.low_y};
        return touching_allowed && box.low_x == box.high_x && box.low_y == box.high_y &&
               touches(point);
    }

    bool touches(const Corner& p) const {
        return same_point(p, a) || same_point(p, b) || same_point(p, c);
    }

    bool accepts(Index i, const Corner& p) const {
        return i != first && i != tip && i != last && inside_or_on(a, b, c, p) &&
               !(touching_allowed && touches(p));
    }
};

CornerTree::CornerTree(const Ring& ring)
    : ring_(ring), order_(ring.size()), leaf_(ring.size()), marked_(ring.size()) {
    std::iota(order_.begin(), order_.end(), Index{0});
    build(0, 0, order_.size());
}

void CornerTree::build(std::size_t node, std::size_t begin, std::size_t end) {
    if (node >= boxes_.size()) boxes_.resize(node + 1);
    const Corner& any = ring_[order_[begin]];
    Box box = {any.x, any.y, any.x, any.y};
    for (std::size_t i = begin; i < end; ++i) {
        const Corner& p = ring_[order_[i]];
        box.low_x = std::min(box.low_x, p.x), box.high_x = std::max(box.high_x, p.x);
        box.low_y = std::min(box.low_y, p.y), box.high_y = std::max(box.high_y, p.y);
    }
    boxes_[node] = box;
    if (end - begin <= kLeaf) {
        for (std::size_t i = begin; i < end; ++i) leaf_[order_[i]] = node;
        return;
    }
    const bool wide = box.high_x - box.low_x > box.high_y - box.low_y;
    const auto at = [this](std::size_t i) { return order_.begin() + static_cast<long>(i); };
    std::nth_element(at(begin), at(middle(begin, end)), at(end), [&](Index i, Index j) {
        return wide ? ring_[i].x < ring_[j].x : ring_[i].y < ring_[j].y;
    });
    build(2 * node + 1, begin, middle(begin, end));
    build(2 * node + 2, middle(begin, end), end);
}

void CornerTree::mark(Index corner, bool marked) {
    if (marked_[corner] == marked) return;
    marked_[corner] = marked;
    for (std::size_t node = leaf_[corner];; node = (node - 1) / 2) {
        marked ? ++boxes_[node].marked : --boxes_[node].marked;
        if (node == 0) return;
    }
}

Index CornerTree::find(Index tip, bool touching_allowed) const {
    const Corner& b = ring_[tip];
    const Search search = {ring_[b.previous], b, ring_[b.next], b.previous, tip, b.next,
                           touching_allowed};
    return find(search, 0, 0, order_.size());
}

Index CornerTree::find(const Search& search, std::size_t node, std::size_t begin,
                       std::size_t end) const {
    const Box& box = boxes_[node];
    if (box.marked == 0 || search.misses(box)) return kNone;
    if (end - begin <= kLeaf) {
        for (std::size_t i = begin; i < end; ++i)
            if (marked_[order_[i]] && search.accepts(order_[i], ring_[order_[i]])) return order_[i];
        return kNone;
    }
    const std::size_t half = middle(begin, end);
    const bool right_first = ((search.tip + 1) * (node + 1) * 0x9E3779B97F4A7C15u) >> 63;
    for (const bool right : {right_first, !right_first}) {
        const Index found =
            right ? find(search, 2 * node + 2, half, end) : find(search, 2 * node + 1, begin, half);
        if (found != kNone) return found;
    }
    return kNone;
}

}  // namespace orvane::scene
