/// @file
/// The transformation of a whole block before it is written.
#pragma once

namespace TyrQbf {

struct Block;

/// Rewrites a block in place.
class BlockTransformation {
public:
    virtual ~BlockTransformation() = default;
    virtual void operator()(Block& block) = 0;

protected:
    BlockTransformation() = default;
    BlockTransformation(const BlockTransformation&) = default;
    BlockTransformation& operator=(const BlockTransformation&) = default;
};

} // namespace TyrQbf
