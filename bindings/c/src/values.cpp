#include <mekapi2.h>
#include <tyr/mek2/threads.hpp>

#include "errors.hpp"
#include "handles.hpp"

#include <functional>
#include <utility>
#include <vector>

using MekC::required;
using MekC::requiredArray;
using MekC::requiredString;
using MekC::run;
using Tyr::Mek2::ParallelFor;

namespace {

using Task = std::function<void(std::size_t)>;

template <class Value>
mek_status setAttribute(mek_attributes* attributes, const char* key, const Value& value,
                        const char* call) {
    return run(call, [&] {
        required(attributes, "the list of attributes")
            .step.attributes.set(requiredString(key, "the key"), value);
    });
}

template <class Value>
mek_status setProperty(mek_properties* properties, mek_property_type type, const Value& value,
                       const char* call) {
    return run(call, [&] {
        required(properties, "the list of properties")
            .values.set(static_cast<Tyr::Mek2::PropertyType>(type), value);
    });
}

template <class Value>
mek_status setPropertyArray(mek_properties* properties, mek_property_type type, const Value* values,
                            std::size_t count, const char* call) {
    return run(call, [&] {
        const Value* const first = requiredArray(values, count, "the array of values");
        std::vector<Value> copy;
        copy.reserve(count); // fails for a count that would overflow the address of the end
        copy.assign(first, first + count);
        required(properties, "the list of properties")
            .values.set(static_cast<Tyr::Mek2::PropertyType>(type), copy);
    });
}

/// @param set receives the options
template <class Set>
mek_status setOption(mek_options* options, const char* call, const Set& set) {
    return run(call, [&] { set(required(options, "the object of options").values); });
}

ParallelFor callerOf(mek_parallel_for function, void* context) {
    return [function, context](std::size_t count, const Task& task) {
        const auto runTask = [](void* data, std::size_t index) {
            (**static_cast<const Task**>(data))(index);
        };
        const Task* address = &task;
        if (function(context, count, runTask, &address) != 0) {
            MekC::refuse(MEK_CALLBACK_FAILED, "the function for parallel tasks failed");
        }
    };
}

} // namespace

mek_status mek_attributes_create(mek_attributes** attributes) {
    return MekC::create(attributes, __func__);
}

void mek_attributes_destroy(mek_attributes* attributes) { delete attributes; }

mek_status mek_attributes_clear(mek_attributes* attributes) {
    return run(__func__,
               [&] { required(attributes, "the list of attributes").step = Tyr::Mek2::Step(); });
}

mek_status mek_attributes_set_f32(mek_attributes* attributes, const char* key, float value) {
    return setAttribute(attributes, key, value, __func__);
}

mek_status mek_attributes_set_i32(mek_attributes* attributes, const char* key, int32_t value) {
    return setAttribute(attributes, key, value, __func__);
}

mek_status mek_attributes_set_u32(mek_attributes* attributes, const char* key, uint32_t value) {
    return setAttribute(attributes, key, value, __func__);
}

mek_status mek_attributes_set_string(mek_attributes* attributes, const char* key,
                                     const char* value) {
    return run(__func__, [&] {
        required(attributes, "the list of attributes")
            .step.attributes.set(requiredString(key, "the key"),
                                 requiredString(value, "the value"));
    });
}

mek_status mek_properties_create(mek_properties** properties) {
    return MekC::create(properties, __func__);
}

void mek_properties_destroy(mek_properties* properties) { delete properties; }

mek_status mek_properties_set_bool(mek_properties* properties, mek_property_type type, int value) {
    return setProperty(properties, type, value != 0, __func__);
}

mek_status mek_properties_set_f32(mek_properties* properties, mek_property_type type, float value) {
    return setProperty(properties, type, value, __func__);
}

mek_status mek_properties_set_f32_array(mek_properties* properties, mek_property_type type,
                                        const float* values, size_t count) {
    return setPropertyArray(properties, type, values, count, __func__);
}

mek_status mek_properties_set_i32(mek_properties* properties, mek_property_type type,
                                  int32_t value) {
    return setProperty(properties, type, value, __func__);
}

mek_status mek_properties_set_i32_array(mek_properties* properties, mek_property_type type,
                                        const int32_t* values, size_t count) {
    return setPropertyArray(properties, type, values, count, __func__);
}

mek_status mek_properties_set_string(mek_properties* properties, mek_property_type type,
                                     const char* value) {
    return run(__func__, [&] {
        required(properties, "the list of properties")
            .values.set(static_cast<Tyr::Mek2::PropertyType>(type),
                        requiredString(value, "the value"));
    });
}

mek_status mek_options_create(mek_options** options) { return MekC::create(options, __func__); }

void mek_options_destroy(mek_options* options) { delete options; }

mek_status mek_options_set_overwrite(mek_options* options, int overwrite) {
    return setOption(options, __func__, [&](auto& values) { values.overwrite = overwrite != 0; });
}

mek_status mek_options_set_tool(mek_options* options, const char* name, const char* version) {
    return setOption(options, __func__, [&](auto& values) {
        std::string toolName = requiredString(name, "the name");
        std::string toolVersion = requiredString(version, "the version");
        values.toolName = std::move(toolName);
        values.toolVersion = std::move(toolVersion);
    });
}

mek_status mek_options_set_relink_replaced(mek_options* options, int relink_replaced) {
    return setOption(options, __func__,
                     [&](auto& values) { values.relinkReplaced = relink_replaced != 0; });
}

mek_status mek_options_set_journal(mek_options* options, int journal) {
    return setOption(options, __func__, [&](auto& values) { values.journal = journal != 0; });
}

mek_status mek_options_set_replace_when_complete(mek_options* options, int replace_when_complete) {
    return setOption(options, __func__, [&](auto& values) {
        values.replaceWhenComplete = replace_when_complete != 0;
    });
}

mek_status mek_options_set_parallel_for(mek_options* options, mek_parallel_for function,
                                        void* context) {
    return setOption(options, __func__, [&](auto& values) {
        values.parallelFor = function != nullptr ? callerOf(function, context) : ParallelFor();
    });
}

mek_status mek_options_set_threads(mek_options* options, uint32_t threads) {
    return setOption(options, __func__, [&](auto& values) {
        values.parallelFor = Tyr::Mek2::parallelForThreads(threads);
    });
}

mek_status mek_options_set_block_size(mek_options* options, uint32_t block_size) {
    return setOption(options, __func__, [&](auto& values) { values.blockSize = block_size; });
}

mek_status mek_options_set_compression_level(mek_options* options, int compression_level) {
    return setOption(options, __func__,
                     [&](auto& values) { values.compressionLevel = compression_level; });
}
