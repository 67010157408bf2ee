/// @file
/// Steps: the time steps, load steps or modes to which arrays belong.
///
/// @code
/// #include <tyr/mek2/step.hpp>
///
/// int main() {
///     Tyr::Mek2::Step step{"Step 1"};
///     step.attributes.set("Time", 0.5F);
///     Tyr::Mek2::StepList steps(2);
///     steps.set(0, Tyr::Mek2::Step{"Step 0"});
///     steps.set(1, step);
///     return steps[1].name == "Step 1" ? 0 : 1;
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>
#include <tyr/mek2/attributes.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace Tyr::Mek2 {

struct StepData;
struct ValueAccess;

/// One step. The empty name is for data that does not depend on the step, such as a mesh.
struct Step {
    std::string name{};      ///< becomes part of the name of the variable
    Attributes attributes{}; ///< added to the attributes of the array
};

/// A list of steps with a fixed length.
///
/// The length is set at construction; only assignment and moves change it. Construct the list with
/// exactly as many steps as you set:
/// - A step that is not set has an empty name. All such steps share one variable, whose name
///   contains no step.
/// - With an empty list, `Model::addArrayProperty` writes a dataset that no variable refers to.
///
/// Indices are not checked: an index outside the list is undefined behaviour. A copy is a deep
/// copy. A moved-from list is empty. All operations except moves and destruction allocate, and
/// raise `std::bad_alloc` if there is no memory; the list then keeps its content. Different lists
/// may be used from different threads at the same time.
class MEKAPI2_API StepList {
public:
    /// `n` steps, each with an empty name and no attributes.
    /// @throws std::length_error `n` is larger than a `std::vector` can be
    StepList(std::size_t n = 0);

    /// A deep copy.
    /// @{
    StepList(const StepList& other);
    const StepList& operator=(const StepList& other);
    /// @}

    /// Takes the steps of `other`, which is empty afterwards.
    /// @{
    StepList(StepList&& other) noexcept;
    StepList& operator=(StepList&& other) noexcept;
    /// @}

    ~StepList();

    /// A copy of step `i`, counted from 0. Changing the copy does not change the list; use `set`.
    Step operator[](std::size_t i) const;

    /// Replaces name and attributes of step `i`, counted from 0.
    void set(std::size_t i, const Step& step);

private:
    friend struct ValueAccess;
    std::vector<StepData>* data_; // null in a moved-from list only
};

} // namespace Tyr::Mek2
