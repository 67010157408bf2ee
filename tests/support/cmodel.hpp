/// @file
/// `Model` made of calls of the C interface, for tests of `Model`. A status is thrown as an
/// exception with its number and message.
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

/// The error of a call.
class CError : public Tyr::Exception::Exception {
public:
    explicit CError(const mek_error& error) : Exception(error.message), status_(error.status) {}
    int code() const noexcept override { return status_; }

private:
    mek_status status_;
};

inline void check(mek_status status, const mek_model* model = nullptr) {
    if (status == MEK_NO_MEMORY || status == MEK_CALLBACK_FAILED) {
        throw std::bad_alloc();
    }
    if (status != MEK_OK) {
        throw CError(*mek_last_error(model));
    }
}

/// A handle that is destroyed at its end.
template <class Handle>
using Owned = std::unique_ptr<Handle, void (*)(Handle*)>;

template <class Handle>
Owned<Handle> own(mek_status (*create)(Handle**), void (*destroy)(Handle*)) {
    Handle* handle = nullptr;
    check(create(&handle));
    return {handle, destroy};
}

inline mek_status set(mek_attributes* to, const std::string& key, float value) {
    return mek_attributes_set_f32(to, key.c_str(), value);
}
inline mek_status set(mek_attributes* to, const std::string& key, int value) {
    return mek_attributes_set_i32(to, key.c_str(), value);
}
inline mek_status set(mek_attributes* to, const std::string& key, unsigned int value) {
    return mek_attributes_set_u32(to, key.c_str(), value);
}
inline mek_status set(mek_attributes* to, const std::string& key, const std::string& value) {
    return mek_attributes_set_string(to, key.c_str(), value.c_str());
}
inline mek_status set(mek_properties* to, Mek2::PropertyType key, int value) {
    return mek_properties_set_bool(to, static_cast<mek_property_type>(key), value);
}
inline mek_status set(mek_properties* to, Mek2::PropertyType key, float value) {
    return mek_properties_set_f32(to, static_cast<mek_property_type>(key), value);
}
inline mek_status set(mek_properties* to, Mek2::PropertyType key,
                      const std::vector<float>& values) {
    return mek_properties_set_f32_array(to, static_cast<mek_property_type>(key), values.data(),
                                        values.size());
}
/// Of other types, which no test uses.
template <class Target, class Key, class Value>
mek_status set(Target, const Key&, const Value&) {
    return MEK_WRONG_TYPE;
}

template <class Handle, class Map>
Owned<Handle> filled(Owned<Handle> target, const Map& values) {
    for (const auto& entry : values) {
        std::visit([&](const auto& value) { check(set(target.get(), entry.first, value)); },
                   entry.second);
    }
    return target;
}

inline Owned<mek_attributes> toC(const Mek2::AttributeMap& values) {
    return filled(own(mek_attributes_create, mek_attributes_destroy), values);
}
inline Owned<mek_attributes> toC(const Mek2::Attributes& values) {
    return toC(Mek2::ValueAccess::of(values));
}
inline Owned<mek_properties> toC(const Mek2::NodeProperties& values) {
    return filled(own(mek_properties_create, mek_properties_destroy),
                  Mek2::ValueAccess::of(values));
}
inline std::vector<const char*> toC(const std::vector<std::string>& strings) {
    std::vector<const char*> result;
    for (const std::string& string : strings) {
        result.push_back(string.c_str());
    }
    return result;
}

/// Steps with the names of the given ones, and the attributes that they point to.
class CSteps {
public:
    explicit CSteps(const Mek2::Step& step) { add(step); }
    explicit CSteps(const Mek2::StepList& steps) {
        for (const Mek2::StepData& step : Mek2::ValueAccess::of(steps)) {
            add(step);
        }
    }
    const std::vector<mek_step>& get() const { return steps_; }

private:
    template <class Step>
    void add(const Step& step) {
        attributes_.push_back(toC(step.attributes));
        steps_.push_back({step.name.c_str(), attributes_.back().get()});
    }

    std::vector<Owned<mek_attributes>> attributes_;
    std::vector<mek_step> steps_;
};

class CModel {
public:
    void saveTo(const std::string& path, const Mek2::SaverOptions& options) {
        const auto given = own(mek_options_create, mek_options_destroy);
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
        require(mek_save_to(get(), path.c_str(), given.get()));
    }
    void close() { require(mek_close(get())); }
    void checkpoint(Mek2::Durability durability = Mek2::Durability::Process) {
        require(mek_checkpoint(get(), static_cast<mek_durability>(durability)));
    }
    unsigned int addNode(Mek2::NodeType type, const std::string& name,
                         const Mek2::Attributes& attributes = {}) {
        std::uint32_t id = 0;
        require(mek_add_node(get(), static_cast<mek_node_type>(type), name.c_str(),
                             toC(attributes).get(), &id));
        return id;
    }
    void setCurrentNodeId(unsigned int id) { require(mek_set_current_node_id(get(), id)); }
    void moveToParentNode() { require(mek_move_to_parent_node(get())); }
    unsigned int getNodeId(const std::string& path) {
        std::uint32_t id = 0;
        require(mek_get_node_id(get(), path.c_str(), nullptr, &id));
        return id;
    }
    unsigned int getNodeId(const std::vector<std::string>& names) {
        std::uint32_t id = 0;
        require(mek_get_node_id_of_names(get(), toC(names).data(), names.size(), &id));
        return id;
    }
    void setNodeData(unsigned int id, const Mek2::NodeProperties& properties,
                     const Mek2::Attributes& attributes) {
        require(mek_set_node_data(get(), id, toC(properties).get(), toC(attributes).get()));
    }
    std::vector<std::uint32_t> addAssemblyComponents(const std::vector<std::string>& paths) {
        std::vector<std::uint32_t> ids(paths.size());
        require(mek_add_assembly_components(get(), toC(paths).data(), paths.size(), nullptr,
                                            ids.data()));
        return ids;
    }
    void addAssemblyComponents(const std::map<std::string, Mek2::Attributes>& paths) {
        std::vector<const char*> strings;
        std::vector<Owned<mek_attributes>> owned;
        std::vector<const mek_attributes*> attributes;
        for (const auto& [path, values] : paths) {
            strings.push_back(path.c_str());
            owned.push_back(toC(values));
            attributes.push_back(owned.back().get());
        }
        require(mek_add_assembly_components_with_attributes(
            get(), strings.data(), attributes.data(), strings.size(), nullptr, nullptr));
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
    void require(mek_status status) const { check(status, get()); }

    template <class Array, class Ids, class Steps>
    void addArray(const char* name, Mek2::DatasetType type, const Array& array, const Ids& ids,
                  const Steps& steps, const Mek2::Attributes& attributes) {
        const CSteps given(steps);
        const auto named = toC(attributes);
        mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
        options.name = name;
        options.steps = given.get().data();
        options.step_count = given.get().size();
        options.attributes = named.get();
        const Mek2::Array1d<unsigned int> all{ids};
        const std::size_t columns = columnsOf(array);
        const auto call = [&](auto function) {
            require(function(get(), static_cast<mek_dataset_type>(type), array.data(),
                             array.size() / columns, columns, all.data(), all.size(), &options));
        };
        if constexpr (std::is_same_v<decltype(array.data()), const float*>) {
            call(mek_add_array_f32);
        } else {
            call(mek_add_array_u32);
        }
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
    Owned<mek_model> model_ = own(mek_model_create, mek_model_destroy);
};

inline void recoverWithC(const std::string& unfinished, const std::string& output) {
    check(mek_recover(unfinished.c_str(), output.c_str(), 0, nullptr, nullptr, nullptr));
}

} // namespace Testing
