/// @file
/// The extension module `mekapi2._core`: `Model` with arguments of basic types. The Python package
/// checks and converts the arguments of the user before it calls this module.
///
/// Every method releases the GIL while the library runs and while it waits for another thread; only
/// the conversion of arguments and results holds it. A mutex in each model admits one thread at a
/// time.

#include "arrays.hpp"
#include "errors.hpp"

#include <tyr/mek2/model.hpp>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace py = pybind11;

namespace MekPython {

namespace {

namespace Mek2 = Tyr::Mek2;

#ifdef _WIN32
using Path = std::wstring;
#else
using Path = std::string;
#endif

using AttributeMap = std::map<std::string, std::variant<unsigned int, float, std::string>>;
using PropertyMap = std::map<int, std::variant<bool, float, std::vector<float>>>;
using PathMap = std::map<std::string, AttributeMap>;
using StepVector = std::vector<std::pair<std::string, AttributeMap>>;
using IdVector = std::vector<unsigned int>;

Mek2::Attributes toAttributes(const AttributeMap& values) {
    Mek2::Attributes attributes;
    for (const auto& [key, value] : values) {
        std::visit([&key = key, &attributes](const auto& held) { attributes.set(key, held); },
                   value);
    }
    return attributes;
}

Mek2::NodeProperties toProperties(const PropertyMap& values) {
    Mek2::NodeProperties properties;
    for (const auto& [key, value] : values) {
        const auto type = static_cast<Mek2::PropertyType>(key);
        std::visit([type, &properties](const auto& held) { properties.set(type, held); }, value);
    }
    return properties;
}

Mek2::StepList toSteps(const StepVector& values) {
    Mek2::StepList steps(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        steps.set(i, Mek2::Step{values[i].first, toAttributes(values[i].second)});
    }
    return steps;
}

IdVector toIds(const Mek2::Array1d<unsigned int>& array) {
    IdVector ids(array.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        ids[i] = array[i];
    }
    return ids;
}

/// Calls the overload with a name, or the one without.
template <class Array>
void addArrayProperty(Mek2::Model& model, const std::optional<std::string>& name,
                      Mek2::DatasetType type, const Array& array,
                      const Mek2::Array1d<unsigned int>& ids, const Mek2::StepList& steps,
                      const Mek2::Attributes& attributes) {
    if (name) {
        model.addArrayProperty(*name, type, array, ids, steps, attributes);
    } else {
        model.addArrayProperty(type, array, ids, steps, attributes);
    }
}

class Model {
    template <class Operation>
    auto run(Operation operation) {
        const py::gil_scoped_release interpreterUnlocked;
        const std::lock_guard lock(mutex_);
        return operation(model_);
    }

public:
    void saveTo(const Path& path, bool overwrite, const std::string& toolName,
                const std::string& toolVersion) {
        Mek2::SaverOptions options{overwrite, toolName, toolVersion};
        options.relinkReplaced = true; // an array given to a variable that was a link is not lost
        run([&](Mek2::Model& model) { model.saveTo(path, options); });
    }

    void close() {
        run([](Mek2::Model& model) { model.close(); });
    }

    unsigned int addNode(int type, const std::string& name, const AttributeMap& attributes) {
        return run([&](Mek2::Model& model) {
            return model.addNode(static_cast<Mek2::NodeType>(type), name, toAttributes(attributes));
        });
    }

    void setCurrentNode(unsigned int id) {
        run([id](Mek2::Model& model) { model.setCurrentNodeId(id); });
    }

    void moveToParent() {
        run([](Mek2::Model& model) { model.moveToParentNode(); });
    }

    unsigned int nodeIdOfPath(const std::string& path, const std::string& separator) {
        return run([&](Mek2::Model& model) { return model.getNodeId(path, separator); });
    }

    unsigned int nodeIdOfNames(const std::vector<std::string>& names) {
        return run([&](Mek2::Model& model) { return model.getNodeId(names); });
    }

    void setNodeData(unsigned int id, const PropertyMap& properties,
                     const AttributeMap& attributes) {
        run([&](Mek2::Model& model) {
            model.setNodeData(id, toProperties(properties), toAttributes(attributes));
        });
    }

    IdVector addPaths(const std::vector<std::string>& paths, const std::string& separator) {
        return run([&](Mek2::Model& model) {
            return toIds(model.addAssemblyComponents(paths, separator));
        });
    }

    std::map<std::string, unsigned int> addPathsWithAttributes(const PathMap& paths,
                                                               const std::string& separator) {
        return run([&](Mek2::Model& model) {
            std::map<std::string, Mek2::Attributes> components;
            for (const auto& [path, attributes] : paths) {
                components.emplace(path, toAttributes(attributes));
            }
            const IdVector ids = toIds(model.addAssemblyComponents(components, separator));
            std::map<std::string, unsigned int> result;
            auto id = ids.begin();
            for (const auto& [path, attributes] : paths) {
                result.emplace(path, *id++);
            }
            return result;
        });
    }

    /// @return row and column of the first value that the file cannot hold exactly; nothing is
    ///     written in this case
    std::optional<std::pair<std::size_t, std::size_t>> addArray(
        const std::optional<std::string>& name, int type, const py::array& array,
        const IdVector& ids, const StepVector& steps, const AttributeMap& attributes, bool lossy) {
        const std::optional<ArrayView> view = viewOf(array);
        if (!view) {
            throw py::type_error("expected a numeric array of one or two dimensions");
        }
        try {
            run([&](Mek2::Model& model) {
                std::visit(
                    [&](const auto& values) {
                        addArrayProperty(model, name, static_cast<Mek2::DatasetType>(type), values,
                                         Mek2::Array1d<unsigned int>(ids), toSteps(steps),
                                         toAttributes(attributes));
                    },
                    toLibraryArray(*view, lossy));
            });
        } catch (const InexactValue& value) {
            return std::make_pair(value.row, value.column);
        }
        return std::nullopt;
    }

private:
    std::mutex mutex_;
    Mek2::Model model_;
};

} // namespace

PYBIND11_MODULE(_core, module) {
    module.doc() = "Model with arguments of basic types; use the package mekapi2.";
    module.attr("version") = MEKAPI2_VERSION;
    registerErrors();
    py::class_<Model>(module, "Model")
        .def(py::init())
        .def("save_to", &Model::saveTo, py::arg("path"), py::arg("overwrite"), py::arg("tool_name"),
             py::arg("tool_version"))
        .def("close", &Model::close)
        .def("add_node", &Model::addNode, py::arg("type"), py::arg("name"), py::arg("attributes"))
        .def("set_current_node", &Model::setCurrentNode, py::arg("id"))
        .def("move_to_parent", &Model::moveToParent)
        .def("node_id_of_path", &Model::nodeIdOfPath, py::arg("path"), py::arg("separator"))
        .def("node_id_of_names", &Model::nodeIdOfNames, py::arg("names"))
        .def("set_node_data", &Model::setNodeData, py::arg("id"), py::arg("properties"),
             py::arg("attributes"))
        .def("add_paths", &Model::addPaths, py::arg("paths"), py::arg("separator"))
        .def("add_paths_with_attributes", &Model::addPathsWithAttributes, py::arg("paths"),
             py::arg("separator"))
        .def("add_array", &Model::addArray, py::arg("name"), py::arg("type"), py::arg("array"),
             py::arg("ids"), py::arg("steps"), py::arg("attributes"), py::arg("lossy"));
}

} // namespace MekPython
