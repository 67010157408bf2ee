#include <mekapi2.h>

#include "errors.hpp"
#include "handles.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

using MekC::refuse;
using MekC::required;
using MekC::requiredArray;
using MekC::runWith;
using MekC::valuesOf;
using Tyr::Mek2::Array1d;
using Tyr::Mek2::Array2d;
using Tyr::Mek2::Model;
using Tyr::Mek2::Step;
using Tyr::Mek2::StepList;

namespace {

/// What all calls that add an array have in common.
struct Request {
    mek_dataset_type type;
    std::size_t rows;
    std::size_t columns;
    const std::uint32_t* ids;
    std::size_t idCount;
    mek_array_options options;
};

/// A structure of a newer header is accepted if its unknown members are zero.
mek_array_options readOptions(const mek_array_options* given) {
    mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
    if (given == nullptr) {
        return options;
    }
    constexpr std::size_t largestSize = 1024; // a larger one is not initialised
    const auto* const bytes = reinterpret_cast<const unsigned char*>(given);
    if (given->size < sizeof options || given->size > largestSize ||
        std::any_of(bytes + sizeof options, bytes + given->size,
                    [](unsigned char byte) { return byte != 0; })) {
        refuse(MEK_MISUSE, "mek_array_options has a size of " + std::to_string(given->size) +
                               ", expected " + std::to_string(sizeof options));
    }
    std::memcpy(&options, given, sizeof options);
    if (options.reserved != 0) {
        refuse(MEK_MISUSE, "the reserved member of mek_array_options is not 0");
    }
    requiredArray(options.steps, options.step_count, "the array of steps");
    if (options.steps != nullptr && options.step_count == 0) {
        refuse(MEK_MISUSE, "step_count is 0: the array would belong to no variable");
    }
    return options;
}

/// The library would allocate the array before it refuses it.
void checkSizes(const Request& request) {
    constexpr std::size_t largestCount = std::numeric_limits<std::int32_t>::max();
    constexpr std::uint64_t largestSize = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t largestRows =
        largestSize / sizeof(float) / std::max<std::size_t>(request.columns, 1);
    if (std::max({request.rows, request.columns, request.idCount}) > largestCount) {
        refuse(MEK_OVERFLOW, "2^31 or more rows, columns or ids");
    }
    if (request.rows > largestRows) {
        refuse(MEK_OVERFLOW, "an array of 2^32 bytes or more");
    }
}

template <class From>
struct Layout {
    const unsigned char* first;
    std::ptrdiff_t rowStride;
    std::ptrdiff_t columnStride;

    Layout(const From* values, const Request& request)
        : first(reinterpret_cast<const unsigned char*>(
              requiredArray(values, request.rows * request.columns, "the array of values"))),
          rowStride(request.options.row_stride),
          columnStride(request.options.column_stride) {
        constexpr auto size = static_cast<std::ptrdiff_t>(sizeof(From));
        columnStride = columnStride == 0 ? size : columnStride;
        rowStride =
            rowStride == 0 ? size * static_cast<std::ptrdiff_t>(request.columns) : rowStride;
    }

    /// Whether the values can be copied as a whole.
    bool isPlain(std::size_t columns) const {
        constexpr auto size = static_cast<std::ptrdiff_t>(sizeof(From));
        return (columns == 1 || columnStride == size) &&
               rowStride == size * static_cast<std::ptrdiff_t>(columns) &&
               reinterpret_cast<std::uintptr_t>(first) % alignof(From) == 0;
    }
};

[[noreturn]] void refuseValue(const std::string& value, std::size_t row, std::size_t column,
                              const std::string& expected) {
    refuse(MEK_VALUE_OUT_OF_RANGE, "the value " + value + " in row " + std::to_string(row) +
                                       " and column " + std::to_string(column) +
                                       ", both counted from 0, is out of range: expected " +
                                       expected);
}

/// Conversions of one value. They return false for a value that they refuse.
struct Same {};

struct Subtract {
    std::int64_t base;
    template <class T>
    bool operator()(T value, unsigned int& result) {
        const std::int64_t difference = std::int64_t{value} - base;
        result = static_cast<unsigned int>(difference);
        return difference == std::int64_t{result};
    }
    template <class T>
    [[noreturn]] void refuse(T value, std::size_t row, std::size_t column) const {
        constexpr std::int64_t largest = std::numeric_limits<unsigned int>::max();
        refuseValue(std::to_string(value), row, column,
                    std::to_string(base) + " to " + std::to_string(base + largest));
    }
};

struct Narrow {
    std::size_t* outOfRange; ///< null: refuses values out of range
    /// Neither a value out of range nor a not-a-number raises a floating-point exception, which
    /// ends programs that trap them.
    bool operator()(double value, float& result) {
        constexpr double limit = 0x1.ffffffp127; // between the largest float and 2^128
        const double size = std::abs(value);
        const bool isInRange = !std::isgreaterequal(size, limit) || std::isinf(value);
        constexpr float infinity = std::numeric_limits<float>::infinity();
        result = isInRange ? static_cast<float>(value)
                           : std::copysign(infinity, value < 0 ? -1.0F : 1.0F);
        if (!isInRange && outOfRange != nullptr) {
            ++*outOfRange;
        }
        return isInRange || outOfRange != nullptr;
    }
    [[noreturn]] static void refuse(double value, std::size_t row, std::size_t column) {
        std::ostringstream text;
        text << value;
        refuseValue(text.str(), row, column, "a value that a 32-bit float can have");
    }
};

template <class From, class To, class Convert>
void fill(const Layout<From>& layout, const Request& request, To* target, Convert& convert) {
    for (std::size_t row = 0; row < request.rows; ++row) {
        const unsigned char* source =
            layout.first + static_cast<std::ptrdiff_t>(row) * layout.rowStride;
        for (std::size_t column = 0; column < request.columns; ++column) {
            From value;
            std::memcpy(&value, source + static_cast<std::ptrdiff_t>(column) * layout.columnStride,
                        sizeof value);
            if constexpr (std::is_same_v<Convert, Same>) {
                *target++ = value;
            } else if (!convert(value, *target++)) {
                convert.refuse(value, row, column);
            }
        }
    }
}

template <class Array, class Ids, class Steps>
void add(Model& model, const Request& request, const Array& array, const Ids& ids,
         const Steps& steps) {
    const auto type = static_cast<Tyr::Mek2::DatasetType>(request.type);
    const auto& attributes = valuesOf(request.options.attributes);
    if (request.options.name != nullptr) {
        model.addArrayProperty(request.options.name, type, array, ids, steps, attributes);
    } else {
        model.addArrayProperty(type, array, ids, steps, attributes);
    }
}

const char* nameOf(const mek_step& step) { return step.name != nullptr ? step.name : ""; }

Step stepOf(const mek_step& step) { return Step{nameOf(step), valuesOf(step.attributes)}; }

template <class Array, class Ids>
void addForStep(Model& model, const Request& request, const Array& array, const Ids& ids) {
    const mek_step& given = request.options.steps[0];
    if (given.attributes == nullptr) {
        add(model, request, array, ids, stepOf(given));
        return;
    }
    Step& step = given.attributes->step;
    step.name = nameOf(given);
    add(model, request, array, ids, step);
}

template <class Array, class Ids>
void addForSteps(Model& model, const Request& request, const Array& array, const Ids& ids) {
    const std::size_t count = request.options.step_count;
    if (count == 0) {
        add(model, request, array, ids, Step{});
        return;
    }
    if (count == 1) {
        addForStep(model, request, array, ids);
        return;
    }
    StepList steps(count);
    for (std::size_t i = 0; i < count; ++i) {
        steps.set(i, stepOf(request.options.steps[i]));
    }
    add(model, request, array, ids, steps);
}

template <class Array>
void addForIds(Model& model, const Request& request, const Array& array) {
    const std::uint32_t* const ids =
        requiredArray(request.ids, request.idCount, "the array of ids");
    if (request.idCount == 1) {
        addForSteps(model, request, array, *ids);
    } else {
        addForSteps(model, request, array, Array1d<unsigned int>(ids, request.idCount));
    }
}

/// Copies the values into an array of the library, and adds it.
template <class To, class From, class Convert>
void addValues(Model& model, const Request& request, const From* values, Convert convert) {
    checkSizes(request);
    const Layout<From> layout(values, request);
    if constexpr (std::is_same_v<Convert, Same>) {
        if (layout.isPlain(request.columns)) {
            if (request.columns == 1) {
                addForIds(model, request, Array1d<To>(values, request.rows));
            } else {
                addForIds(model, request, Array2d<To>(values, request.rows, request.columns));
            }
            return;
        }
    }
    if (request.columns == 1) {
        Array1d<To> array(request.rows);
        fill(layout, request, array.data(), convert);
        addForIds(model, request, array);
    } else {
        Array2d<To> array(request.rows, request.columns);
        fill(layout, request, array.data(), convert);
        addForIds(model, request, array);
    }
}

void checkNoBase(const Request& request) {
    if (request.options.base != 0) {
        refuse(MEK_MISUSE, "base is for integers; this array has floating-point numbers");
    }
}

} // namespace

mek_status mek_add_array_f32(mek_model* model, mek_dataset_type type, const float* values,
                             size_t rows, size_t columns, const uint32_t* ids, size_t id_count,
                             const mek_array_options* options) {
    return runWith(model, __func__, [&](Model& to) {
        const Request request{type, rows, columns, ids, id_count, readOptions(options)};
        checkNoBase(request);
        addValues<float>(to, request, values, Same());
    });
}

mek_status mek_add_array_u32(mek_model* model, mek_dataset_type type, const uint32_t* values,
                             size_t rows, size_t columns, const uint32_t* ids, size_t id_count,
                             const mek_array_options* options) {
    return runWith(model, __func__, [&](Model& to) {
        const Request request{type, rows, columns, ids, id_count, readOptions(options)};
        if (request.options.base == 0) {
            addValues<unsigned int>(to, request, values, Same());
        } else {
            addValues<unsigned int>(to, request, values, Subtract{request.options.base});
        }
    });
}

mek_status mek_add_array_i32(mek_model* model, mek_dataset_type type, const int32_t* values,
                             size_t rows, size_t columns, const uint32_t* ids, size_t id_count,
                             const mek_array_options* options) {
    return runWith(model, __func__, [&](Model& to) {
        const Request request{type, rows, columns, ids, id_count, readOptions(options)};
        addValues<unsigned int>(to, request, values, Subtract{request.options.base});
    });
}

mek_status mek_add_array_f64(mek_model* model, mek_dataset_type type, const double* values,
                             size_t rows, size_t columns, const uint32_t* ids, size_t id_count,
                             const mek_array_options* options, size_t* out_of_range) {
    return runWith(model, __func__, [&](Model& to) {
        const Request request{type, rows, columns, ids, id_count, readOptions(options)};
        checkNoBase(request);
        std::size_t count = 0;
        addValues<float>(to, request, values, Narrow{out_of_range != nullptr ? &count : nullptr});
        if (out_of_range != nullptr) {
            *out_of_range = count;
        }
    });
}
