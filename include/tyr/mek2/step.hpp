/// @file
/// Steps: for which moments, load cases or modes an array holds.
#pragma once

#include <tyr/export.hpp>
#include <tyr/mek2/attributes.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace Tyr::Mek2 {

struct StepData;
struct ValueAccess;

/// One step. An empty name stands for data that belongs to no step, such as a mesh.
struct Step {
    std::string name{};      ///< tells the steps of a result apart
    Attributes attributes{}; ///< go to the array of a result; those of the call win
};

/// A list of steps whose length is fixed at construction. A copy is a deep copy. An index outside
/// the list is a fault of the caller. Different objects may be used from different threads.
class MEKAPI2_API StepList {
public:
    /// `n` steps, each with an empty name and no attributes.
    StepList(std::size_t n = 0);
    /// A deep copy.
    /// @{
    StepList(const StepList& other);
    const StepList& operator=(const StepList& other);
    /// @}

    ~StepList();

    /// A copy of step `i`; changing it does not change the list.
    Step operator[](std::size_t i) const;

    /// Replaces name and attributes of step `i`.
    void set(std::size_t i, const Step& step);

private:
    friend struct ValueAccess;
    std::vector<StepData>* data_;
};

} // namespace Tyr::Mek2
