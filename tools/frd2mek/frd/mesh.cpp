#include "frd/mesh.hpp"

#include <algorithm>

namespace Frd {

std::optional<std::size_t> NodeTable::buildIndex() {
    for (std::size_t row = entries_.size(); row < ids_.size(); ++row) {
        entries_.push_back({ids_[row], static_cast<std::uint32_t>(row)});
    }
    const auto comesBefore = [](const Entry& a, const Entry& b) {
        return a.id != b.id ? a.id < b.id : a.row < b.row;
    };
    if (!std::is_sorted(entries_.begin(), entries_.end(), comesBefore)) {
        std::sort(entries_.begin(), entries_.end(), comesBefore);
    }
    const auto hasSameId = [](const Entry& a, const Entry& b) { return a.id == b.id; };
    const auto first = std::adjacent_find(entries_.begin(), entries_.end(), hasSameId);
    return first == entries_.end() ? std::nullopt : std::optional<std::size_t>((first + 1)->row);
}

std::optional<std::uint32_t> NodeTable::rowOf(std::uint32_t id, std::size_t guess) const {
    if (guess < ids_.size() && ids_[guess] == id) {
        return static_cast<std::uint32_t>(guess);
    }
    if (entries_.empty() || id < entries_.front().id || id > entries_.back().id) {
        return std::nullopt;
    }
    // In ascending ids an entry is at most as far from either end as its id is from the id there.
    // Without gaps this leaves a single entry.
    const std::size_t fromFront = id - entries_.front().id;
    const std::size_t fromBack = entries_.back().id - id;
    const std::size_t last = entries_.size() - 1;
    const auto begin =
        entries_.begin() + static_cast<std::ptrdiff_t>(last - std::min(last, fromBack));
    const auto end = entries_.begin() + static_cast<std::ptrdiff_t>(std::min(last, fromFront) + 1);
    const auto found = std::lower_bound(
        begin, end, id, [](const Entry& entry, std::uint32_t number) { return entry.id < number; });
    return found != end && found->id == id ? std::optional(found->row) : std::nullopt;
}

} // namespace Frd
