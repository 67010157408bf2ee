/// @file
/// Attributes as nodes, variables and the file hold them.
#pragma once

#include "tyr/mek/packedattributes.hpp"

#include <string>

namespace TyrQbf {
class Index;
}

namespace TyrUtil {

/// Values by key.
struct AttributeList {
    PackedAttributes values;
};

/// Called by `Index::Put`: splits a list by kind and puts it as six values, which are the keys, the
/// types, and the values of each kind in the order of the keys (unsigned, float, double, string).
void PutSplit(TyrQbf::Index& index, const std::string& name, const AttributeList& list);

} // namespace TyrUtil
