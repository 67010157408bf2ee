/// @file
/// Values by the hash of their keys.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TyrAdt {

/// A hash table with open addressing and linear probing that only grows.
///
/// It stores no keys: the caller compares the values of equal hash with the key. A look-up in a
/// table of any size reads one location of memory in most cases; `std::unordered_multimap` reads
/// two or three. In an index of 10^6 entries these reads take most of the time. Only 32 bits of a
/// hash are kept, so that more slots fit into a cache line.
template <class Value>
class HashIndex {
public:
    /// Makes room for `count` values in all.
    void Reserve(std::size_t count) {
        if (2 * count > slots_.size()) {
            Rehash(std::max(2 * count, 2 * slots_.size()));
        }
    }

    /// If memory runs out, nothing changes.
    void Add(std::size_t hash, const Value& value) {
        Reserve(size_ + 1);
        Insert(slots_, {Kept(hash), value});
        ++size_;
    }

    /// The first value of this hash, in any order, for which `isWanted(value)` holds, or null.
    template <class IsWanted>
    const Value* Find(std::size_t hash, IsWanted isWanted) const {
        if (slots_.empty()) {
            return nullptr;
        }
        const std::size_t mask = slots_.size() - 1;
        const std::uint32_t wanted = Kept(hash);
        for (std::size_t at = wanted & mask; slots_[at].hash != 0; at = (at + 1) & mask) {
            if (slots_[at].hash == wanted && isWanted(slots_[at].value)) {
                return &slots_[at].value;
            }
        }
        return nullptr;
    }

private:
    struct Slot {
        std::uint32_t hash = 0; ///< 0: the slot is free
        Value value{};
    };

    /// The lowest 32 bits, but never 0.
    static std::uint32_t Kept(std::size_t hash) {
        const auto kept = static_cast<std::uint32_t>(hash);
        return kept != 0 ? kept : 1;
    }

    static void Insert(std::vector<Slot>& slots, const Slot& added) {
        const std::size_t mask = slots.size() - 1;
        std::size_t at = added.hash & mask;
        while (slots[at].hash != 0) {
            at = (at + 1) & mask;
        }
        slots[at] = added;
    }

    void Rehash(std::size_t leastSize) {
        std::size_t size = 16;
        while (size < leastSize) {
            size *= 2;
        }
        std::vector<Slot> larger(size);
        for (const Slot& slot : slots_) {
            if (slot.hash != 0) {
                Insert(larger, slot);
            }
        }
        slots_.swap(larger);
    }

    std::vector<Slot> slots_; ///< their number is a power of two; at most half are in use
    std::size_t size_ = 0;
};

} // namespace TyrAdt
