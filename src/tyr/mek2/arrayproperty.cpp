#include "tyr/mek2/arrayproperty.hpp"

#include <array>
#include <cstdint>

namespace Tyr::Mek2 {

namespace {

/// Indexed by the number of the dataset type.
constexpr std::array<Dataset, 31> datasets = {{
    {"Connectivity", 1, 4},  {"Connectivity", 1, 5},  {"Connectivity", 1, 6},
    {"Polylength", 1, 9},    {"Polylength", 1, 9},    {"Polylength", 1, 9},
    {"Part Elements", 1, 4}, {"Part Elements", 1, 5}, {"Part Elements", 1, 6},
    {"Coordinates", 3, 1},   {nullptr, 1, 12},        {nullptr, 3, 13},
    {nullptr, 6, 14},        {nullptr, 6, 15},        {nullptr, 1, 16},
    {nullptr, 3, 17},        {nullptr, 6, 18},        {nullptr, 6, 19},
    {nullptr, 1, 20},        {nullptr, 3, 21},        {nullptr, 6, 22},
    {nullptr, 6, 23},        {nullptr, 1, 24},        {nullptr, 1, 25},
    {nullptr, 3, 26},        {nullptr, 6, 27},        {nullptr, 6, 28},
    {"Node Ids", 1, 12},     {"Element IDs", 1, 16},  {"Displacement", 3, 13},
    {"Displacement", 6, 14},
}};

} // namespace

const Dataset* findDataset(DatasetType type) {
    const auto number = static_cast<std::uint32_t>(type);
    return number < datasets.size() ? &datasets[number] : nullptr;
}

} // namespace Tyr::Mek2
