// From marks to dust: the marked columns of a stripe make line pieces, pieces of successive stripes
// make blobs, and blobs that touch become one.
#pragma once

#include "lib/pim/dust/rova_pim_dust_stripe.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t PIM_DUST_PARTS = 256; // what comes after is dropped without a word

// Pieces or blobs.
struct rova_pim_dust_parts {
    std::array<rova_pim_dust_spot, PIM_DUST_PARTS> spots;
    std::size_t count;

    bool full() const { return count == spots.size(); }
    std::span<rova_pim_dust_spot> all() { return std::span(spots).first(count); }
    std::span<const rova_pim_dust_spot> all() const { return std::span(spots).first(count); }
};

// Distances in pixels.
struct rova_pim_dust_reach {
    int64_t gap;   // a wider one parts two pieces
    int64_t side;  // how far beside a blob a piece may lie
    int64_t below; // how far below
};

// The pieces of a stripe.  `black`: a mark counts even where the marked block's mean is 0.
void rova_pim_dust_pieces(const rova_pim_dust_stripe &stripe, int64_t gap, bool black,
                          rova_pim_dust_parts &pieces);

// Adds the pieces of the next stripe.
void rova_pim_dust_join(const rova_pim_dust_parts &pieces, const rova_pim_dust_reach &reach,
                        rova_pim_dust_parts &blobs);

// Makes one of any two blobs where a corner of the one lies in the other; each pair is looked at
// once.  Returns whether there were any.
bool rova_pim_dust_merge(rova_pim_dust_parts &blobs);
