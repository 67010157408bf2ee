/// @file
/// `Model` made of calls of the C interface, for tests of `Model`. A status is thrown as the
/// exception of the same number, with its message.
#pragma once

#include <mekapi2.h>
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "tyr/mek2/valuestorage.hpp"

#include <map>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Testing {

namespace Mek2 = Tyr::Mek2;

[[noreturn]] inline void throwError(const mek_error& error) {
    switch (error.status) {
        case MEK_MISCELLANEOUS:
            throw Tyr::Exception::MiscelleneousException(error.message);
        case MEK_INVALID_ARGUMENTS:
            throw Tyr::Exception::InvalidArguments(error.message);
        case MEK_FILE_OPEN:
            throw Tyr::Exception::FileOpenException(error.message);
        case MEK_FILE_WRITE:
            throw Tyr::Exception::FileWriteException(error.message);
        case MEK_KEY_NOT_FOUND:
            throw Tyr::Exception::KeyNotFound(error.message);
        case MEK_BLOCK_MEMORY:
            throw Tyr::Exception::MemoryAllocationException(error.message);
        case MEK_INVALID_STATE:
            throw Tyr::Exception::InvalidObjectState(error.message);
        case MEK_NO_MEMORY:
        case MEK_CALLBACK_FAILED:
            throw std::bad_alloc();
        default:
            throw Tyr::Exception::Exception(error.message);
    }
}

inline void check(mek_status status, const mek_model* model = nullptr) {
    if (status != MEK_OK) {
        throwError(*mek_last_error(model));
    }
}

/// A handle that is destroyed at its end.
template <class Handle, mek_status (*create)(Handle**), void (*destroy)(Handle*)>
class Owned {
public:
    Owned() { check(create(&handle_)); }
    Owned(Owned&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    Owned& operator=(Owned&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Owned() { destroy(handle_); }

    Handle* get() const { return handle_; }

private:
    Handle* handle_ = nullptr;
};

using OwnedAttributes = Owned<mek_attributes, mek_attributes_create, mek_attributes_destroy>;
using OwnedProperties = Owned<mek_properties, mek_properties_create, mek_properties_destroy>;
using OwnedOptions = Owned<mek_options, mek_options_create, mek_options_destroy>;
using OwnedModel = Owned<mek_model, mek_model_create, mek_model_destroy>;

struct AttributeSetter {
    mek_attributes* target;
    const char* key;
    mek_status operator()(float value) const { return mek_attributes_set_f32(target, key, value); }
    mek_status operator()(int value) const { return mek_attributes_set_i32(target, key, value); }
    mek_status operator()(unsigned int value) const {
        return mek_attributes_set_u32(target, key, value);
    }
    mek_status operator()(const std::string& value) const {
        return mek_attributes_set_string(target, key, value.c_str());
    }
    template <class Other>
    mek_status operator()(const Other&) const {
        throw Tyr::Exception::InvalidArguments("not in the C interface");
    }
};

struct PropertySetter {
    mek_properties* target;
    mek_property_type type;
    mek_status operator()(int value) const { return mek_properties_set_i32(target, type, value); }
    mek_status operator()(float value) const { return mek_properties_set_f32(target, type, value); }
    mek_status operator()(const std::string& value) const {
        return mek_properties_set_string(target, type, value.c_str());
    }
    mek_status operator()(const std::vector<int>& values) const {
        return mek_properties_set_i32_array(target, type, values.data(), values.size());
    }
    mek_status operator()(const std::vector<float>& values) const {
        return mek_properties_set_f32_array(target, type, values.data(), values.size());
    }
};

inline OwnedAttributes toC(const Mek2::AttributeMap& values) {
    OwnedAttributes attributes;
    for (const auto& [key, value] : values) {
        check(std::visit(AttributeSetter{attributes.get(), key.c_str()}, value));
    }
    return attributes;
}

inline OwnedAttributes toC(const Mek2::Attributes& values) {
    return toC(Mek2::ValueAccess::of(values));
}

inline OwnedProperties toC(const Mek2::NodeProperties& values) {
    OwnedProperties properties;
    for (const auto& [key, value] : Mek2::ValueAccess::of(values)) {
        check(std::visit(PropertySetter{properties.get(), static_cast<mek_property_type>(key)},
                         value));
    }
    return properties;
}

inline std::vector<const char*> toC(const std::vector<std::string>& strings) {
    std::vector<const char*> result;
    for (const std::string& string : strings) {
        result.push_back(string.c_str());
    }
    return result;
}

/// Steps, and the attributes that they point to.
class CSteps {
public:
    explicit CSteps(const Mek2::Step& step) { add(step.name, toC(step.attributes)); }
    explicit CSteps(const Mek2::StepList& steps) {
        for (const Mek2::StepData& step : Mek2::ValueAccess::of(steps)) {
            add(step.name, toC(step.attributes));
        }
    }
    const std::vector<mek_step>& get() const { return steps_; }

private:
    void add(const std::string& name, OwnedAttributes attributes) {
        names_.push_back(std::make_unique<std::string>(name));
        attributes_.push_back(std::move(attributes));
        steps_.push_back({names_.back()->c_str(), attributes_.back().get()});
    }

    std::vector<std::unique_ptr<std::string>> names_;
    std::vector<OwnedAttributes> attributes_;
    std::vector<mek_step> steps_;
};

class CModel {
public:
    void saveTo(const std::string& path, const Mek2::SaverOptions& options) {
        OwnedOptions given;
        check(mek_options_set_overwrite(given.get(), options.overwrite ? 1 : 0));
        check(mek_options_set_tool(given.get(), options.toolName.c_str(),
                                   options.toolVersion.c_str()));
        check(mek_options_set_journal(given.get(), options.journal ? 1 : 0));
        check(mek_options_set_replace_when_complete(given.get(),
                                                    options.replaceWhenComplete ? 1 : 0));
        if (options.parallelFor) {
            parallelFor_ = std::make_shared<Mek2::ParallelFor>(options.parallelFor);
            check(mek_options_set_parallel_for(given.get(), runTasks, parallelFor_.get()));
        }
        check(mek_save_to(get(), path.c_str(), given.get()), get());
    }
    void close() { check(mek_close(get()), get()); }
    void checkpoint(Mek2::Durability durability = Mek2::Durability::Process) {
        check(mek_checkpoint(get(), static_cast<mek_durability>(durability)), get());
    }
    unsigned int addNode(Mek2::NodeType type, const std::string& name,
                         const Mek2::Attributes& attributes = {}) {
        std::uint32_t id = 0;
        check(mek_add_node(get(), static_cast<mek_node_type>(type), name.c_str(),
                           toC(attributes).get(), &id),
              get());
        return id;
    }
    void setCurrentNodeId(unsigned int id) { check(mek_set_current_node_id(get(), id), get()); }
    void moveToParentNode() { check(mek_move_to_parent_node(get()), get()); }
    unsigned int getNodeId(const std::string& path) {
        std::uint32_t id = 0;
        check(mek_get_node_id(get(), path.c_str(), nullptr, &id), get());
        return id;
    }
    unsigned int getNodeId(const std::vector<std::string>& names) {
        std::uint32_t id = 0;
        check(mek_get_node_id_of_names(get(), toC(names).data(), names.size(), &id), get());
        return id;
    }
    void setNodeData(unsigned int id, const Mek2::NodeProperties& properties,
                     const Mek2::Attributes& attributes) {
        check(mek_set_node_data(get(), id, toC(properties).get(), toC(attributes).get()), get());
    }
    std::vector<std::uint32_t> addAssemblyComponents(const std::vector<std::string>& paths) {
        std::vector<std::uint32_t> ids(paths.size());
        check(mek_add_assembly_components(get(), toC(paths).data(), paths.size(), nullptr,
                                          ids.data()),
              get());
        return ids;
    }
    void addAssemblyComponents(const std::map<std::string, Mek2::Attributes>& paths) {
        std::vector<const char*> strings;
        std::vector<OwnedAttributes> owned;
        std::vector<const mek_attributes*> attributes;
        for (const auto& [path, values] : paths) {
            strings.push_back(path.c_str());
            owned.push_back(toC(values));
            attributes.push_back(owned.back().get());
        }
        check(mek_add_assembly_components_with_attributes(get(), strings.data(), attributes.data(),
                                                          strings.size(), nullptr, nullptr),
              get());
    }

    template <class Array, class Ids, class Steps>
    void addArrayProperty(const std::string& name, Mek2::DatasetType type, const Array& array,
                          const Ids& ids, const Steps& steps,
                          const Mek2::Attributes& attributes = {}) {
        addArray(name.c_str(), type, array, ids, steps, attributes);
    }
    template <class Array, class Ids, class Steps>
    void addArrayProperty(Mek2::DatasetType type, const Array& array, const Ids& ids,
                          const Steps& steps, const Mek2::Attributes& attributes = {}) {
        addArray(nullptr, type, array, ids, steps, attributes);
    }

private:
    mek_model* get() const { return model_.get(); }

    template <class Array, class Ids, class Steps>
    void addArray(const char* name, Mek2::DatasetType type, const Array& array, const Ids& ids,
                  const Steps& steps, const Mek2::Attributes& attributes) {
        const CSteps given(steps);
        const OwnedAttributes named = toC(attributes);
        mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
        options.name = name;
        options.steps = given.get().data();
        options.step_count = given.get().size();
        options.attributes = named.get();
        const Mek2::Array1d<unsigned int> all = listOf(ids);
        const std::size_t columns = columnsOf(array);
        const auto call = [&](auto function) {
            check(function(get(), static_cast<mek_dataset_type>(type), array.data(),
                           array.size() / columns, columns, all.data(), all.size(), &options),
                  get());
        };
        if constexpr (std::is_same_v<decltype(array.data()), const float*>) {
            call(mek_add_array_f32);
        } else {
            call(mek_add_array_u32);
        }
    }

    static Mek2::Array1d<unsigned int> listOf(unsigned int id) { return {id}; }
    static const Mek2::Array1d<unsigned int>& listOf(const Mek2::Array1d<unsigned int>& ids) {
        return ids;
    }
    template <class T>
    static std::size_t columnsOf(const Mek2::Array1d<T>&) {
        return 1;
    }
    template <class T>
    static std::size_t columnsOf(const Mek2::Array2d<T>& array) {
        return array.cols();
    }

    static int runTasks(void* parallelFor, std::size_t count, mek_task task, void* data) {
        try {
            (*static_cast<Mek2::ParallelFor*>(parallelFor))(
                count, [&](std::size_t index) { task(data, index); });
            return 0;
        } catch (const std::bad_alloc&) {
            return 1;
        }
    }

    std::shared_ptr<Mek2::ParallelFor> parallelFor_; ///< lives longer than `model_`
    OwnedModel model_;
};

} // namespace Testing
