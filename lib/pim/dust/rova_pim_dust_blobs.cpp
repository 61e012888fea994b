#include "lib/pim/dust/rova_pim_dust_blobs.h"

#include <algorithm>

namespace
{

constexpr int32_t PIECE_STEP = 2; // of the columns that are looked at

void widen(rova_pim_dust_spot &spot, int32_t min100, int32_t max100)
{
    spot.min100 = std::min(spot.min100, min100);
    spot.max100 = std::max(spot.max100, max100);
}

void add(rova_pim_dust_parts &parts, const rova_pim_dust_spot &spot)
{
    parts.spots[parts.count++] = spot;
}

bool is_below(const rova_pim_dust_spot &piece, const rova_pim_dust_spot &blob, int64_t below)
{
    return piece.y2 <= blob.y2 + below;
}

bool is_beside(const rova_pim_dust_spot &piece, const rova_pim_dust_spot &blob, int64_t side)
{
    return (blob.x1 <= piece.x1 && piece.x1 <= blob.x2) ||
           (blob.x1 <= piece.x2 && piece.x2 <= blob.x2) ||
           (piece.x1 <= blob.x1 && blob.x2 <= piece.x2) ||
           (piece.x2 <= blob.x1 && blob.x1 <= piece.x2 + side) ||
           (blob.x2 <= piece.x1 && piece.x1 <= blob.x2 + side);
}

bool join_blobs(const rova_pim_dust_spot &piece, const rova_pim_dust_reach &reach,
                std::span<rova_pim_dust_spot> blobs)
{
    bool joined = false;
    for (rova_pim_dust_spot &blob : blobs) {
        if (!is_below(piece, blob, reach.below) || !is_beside(piece, blob, reach.side))
            continue;
        blob.x1 = std::min(blob.x1, piece.x1);
        blob.x2 = std::max(blob.x2, piece.x2);
        blob.y2 = piece.y2;
        widen(blob, piece.min100, piece.max100);
        joined = true;
    }
    return joined;
}

bool holds(const rova_pim_dust_spot &spot, int32_t x, int32_t y)
{
    return spot.x1 <= x && x <= spot.x2 && spot.y1 <= y && y <= spot.y2;
}

bool holds_corner(const rova_pim_dust_spot &spot, const rova_pim_dust_spot &other)
{
    return holds(spot, other.x1, other.y1) || holds(spot, other.x2, other.y1) ||
           holds(spot, other.x1, other.y2) || holds(spot, other.x2, other.y2);
}

void take_in(rova_pim_dust_spot &spot, const rova_pim_dust_spot &other)
{
    spot.x1 = std::min(spot.x1, other.x1);
    spot.y1 = std::min(spot.y1, other.y1);
    spot.x2 = std::max(spot.x2, other.x2);
    spot.y2 = std::max(spot.y2, other.y2);
    widen(spot, other.min100, other.max100);
}

void remove(rova_pim_dust_parts &parts, std::size_t index)
{
    const auto all = parts.all();
    std::shift_left(all.begin() + static_cast<std::ptrdiff_t>(index), all.end(), 1);
    parts.count--;
}

// The blob that moves into the place of a removed one is the next to be looked at.  Returns where
// blob i is then.
std::size_t take_in_all(rova_pim_dust_parts &blobs, std::size_t i)
{
    std::size_t j = 0;
    while (j < blobs.count) {
        rova_pim_dust_spot &blob = blobs.spots[i];
        const rova_pim_dust_spot &other = blobs.spots[j];
        if (j == i || !(holds_corner(blob, other) || holds_corner(other, blob))) {
            j++;
            continue;
        }
        take_in(blob, other);
        remove(blobs, j);
        i -= j < i ? 1 : 0;
    }
    return i;
}

} // namespace

void rova_pim_dust_pieces(const rova_pim_dust_stripe &stripe, int64_t gap, bool black,
                          rova_pim_dust_parts &pieces)
{
    pieces.count = 0;
    if (!stripe.marked)
        return;
    for (std::size_t i = 0; i < stripe.marks.size(); i += PIECE_STEP) {
        const int32_t value = stripe.values[i];
        if (stripe.marks[i] != PIM_DUST_MARK || (value == 0 && !black))
            continue;
        const auto x = static_cast<int32_t>(i);
        if (pieces.count == 0 || x - pieces.all().back().x2 > gap) {
            if (pieces.full())
                return;
            add(pieces, {x, stripe.y, x, stripe.y, value, value});
            continue;
        }
        pieces.all().back().x2 = x;
        widen(pieces.all().back(), value, value);
    }
}

void rova_pim_dust_join(const rova_pim_dust_parts &pieces, const rova_pim_dust_reach &reach,
                        rova_pim_dust_parts &blobs)
{
    if (pieces.count == 0)
        return;
    if (blobs.count == 0) { // the others of the first marked stripe are lost
        add(blobs, pieces.spots[0]);
        return;
    }
    for (const rova_pim_dust_spot &piece : pieces.all()) {
        if (blobs.full())
            return;
        if (!join_blobs(piece, reach, blobs.all()))
            add(blobs, piece);
    }
}

bool rova_pim_dust_merge(rova_pim_dust_parts &blobs)
{
    const std::size_t before = blobs.count;
    for (std::size_t i = 0; i < blobs.count; i++)
        i = take_in_all(blobs, i);
    return blobs.count != before;
}
