#include "tyr/qbf/blocksizelimiter.hpp"

#include "tyr/qbf/blocksize.hpp"

namespace TyrQbf {

namespace {
constexpr std::uint32_t defaultLimit = 200 * 1024 * 1024;
}

BlockSizeLimiter::BlockSizeLimiter()
    : BlockSizeLimiter(BlockSizeFromEnvironment().value_or(defaultLimit)) {}

BlockSizeLimiter::BlockSizeLimiter(std::uint32_t sizeLimit) : limit(sizeLimit) {}

} // namespace TyrQbf
