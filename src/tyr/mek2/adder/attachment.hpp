/// @file
/// Attaches a dataset to geometries as variables.
#pragma once

#include "tyr/mek/geometry.hpp"
#include "tyr/mek/tree.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Tyr::Mek2::Adder {

/// The values that all variables of one call share.
struct Attachment {
    /// A variable: the id of its geometry, and its index there.
    struct Place {
        unsigned int nodeId;
        unsigned int index;
    };

    /// Adds the variable of one pair of node and step; ignores a node that is no geometry. The
    /// first variable of a call owns the dataset, unless it is a link of an earlier call. The
    /// others become links to it.
    /// @param coming number of variables that the node still gets, this one included
    /// @throws KeyNotFound no node has this id; it is the current node then
    void attach(TyrMek::Tree& tree, unsigned int id, const StepData& step, std::size_t coming);

    const std::string& name;
    TyrMek::Geometry::VariableType type{};
    std::uint64_t offset = 0;
    TyrMek::NumericArray array;
    TyrUtil::AttributeList attributes;
    bool relinkReplaced = false; ///< true: a first variable that is a link becomes the owner
    std::optional<Place> owner{};
};

} // namespace Tyr::Mek2::Adder
