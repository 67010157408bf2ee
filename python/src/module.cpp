/// @file
/// The extension module `mekapi2._core`: `Model` with arguments of basic types. The Python package
/// checks and converts the arguments of the user before it calls this module.
///
/// Every method releases the GIL while the library runs and while it waits for another thread; only
/// the conversion of arguments and results holds it. A mutex in each model admits one thread at a
/// time.

#include "arrays.hpp"
#include "errors.hpp"
#include "nodekinds.hpp"

#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/threads.hpp>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <boost/exception/errinfo_errno.hpp>
#include <boost/exception/info.hpp>

#include <cerrno>
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
using NamedAttributes = std::vector<std::pair<std::string, AttributeMap>>;
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

Mek2::StepList toSteps(const NamedAttributes& values) {
    Mek2::StepList steps(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        steps.set(i, Mek2::Step{values[i].first, toAttributes(values[i].second)});
    }
    return steps;
}

bool endsWith(const std::string& string, const std::string& end) {
    return string.size() >= end.size() &&
           string.compare(string.size() - end.size(), end.size(), end) == 0;
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
    /// Adds the reason of the system to the exception of a failed write.
    template <class Operation>
    auto runUnchecked(Operation operation) {
        const py::gil_scoped_release interpreterUnlocked;
        const std::lock_guard lock(mutex_);
        errno = 0;
        try {
            return operation(model_);
        } catch (const Tyr::Exception::FileWriteException& exception) {
            exception << boost::errinfo_errno(errno);
            throw;
        }
    }

    template <class Operation>
    auto run(Operation operation) {
        return runUnchecked([&](Mek2::Model& model) {
            if (!isOpen_) {
                throw Tyr::Exception::InvalidObjectState("the model is closed");
            }
            return operation(model);
        });
    }

public:
    void saveTo(const Path& path, bool overwrite, const std::string& toolName,
                const std::string& toolVersion, bool journal, bool replaceWhenComplete,
                std::optional<unsigned int> threads) {
        Mek2::SaverOptions options{overwrite, toolName, toolVersion};
        options.relinkReplaced = true; // an array given to a variable that was a link is not lost
        options.journal = journal;
        options.replaceWhenComplete = replaceWhenComplete;
        if (threads) {
            options.parallelFor = Mek2::parallelForThreads(*threads);
        }
        runUnchecked([&](Mek2::Model& model) {
            try {
                model.saveTo(path, options);
            } catch (const Tyr::Exception::MiscelleneousException& exception) {
                exception << boost::errinfo_errno(errno);
                throw;
            }
            isOpen_ = true;
        });
    }

    /// The model is closed afterwards in any case.
    void close() {
        runUnchecked([this](Mek2::Model& model) {
            isOpen_ = false;
            try {
                model.close();
            } catch (...) {
                model.close(); // drops the write cycle
                throw;
            }
        });
    }

    /// Closes the model and leaves its file unfinished.
    void abandon() {
        runUnchecked([this](Mek2::Model& model) {
            isOpen_ = false;
            model = Mek2::Model();
        });
    }

    void checkpoint(bool durable) {
        run([durable](Mek2::Model& model) {
            model.checkpoint(durable ? Mek2::Durability::Device : Mek2::Durability::Process);
        });
    }

    /// @return no value if there is no such node
    std::optional<std::string> nodeKind(unsigned int id) {
        return run([this, id](Mek2::Model&) -> std::optional<std::string> {
            if (!kinds_.contains(id)) {
                return std::nullopt;
            }
            switch (kinds_.of(id)) {
                case NodeKind::Group:
                    return "group";
                case NodeKind::Shape:
                    return "shape";
                default:
                    return "geometry";
            }
        });
    }

    unsigned int addNode(int type, const std::string& name, const AttributeMap& attributes) {
        return run([&](Mek2::Model& model) {
            const auto nodeType = static_cast<Mek2::NodeType>(type);
            const unsigned int id = model.addNode(nodeType, name, toAttributes(attributes));
            kinds_.addNode(nodeType, id);
            return id;
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

    /// Adds one path after the other, so that the kinds of its nodes are known.
    IdVector addPaths(const NamedAttributes& paths, const std::string& separator) {
        return run([&](Mek2::Model& model) {
            IdVector ids;
            ids.reserve(paths.size());
            for (const auto& [path, attributes] : paths) {
                ids.push_back(addPath(model, path, separator, attributes));
            }
            return ids;
        });
    }

    /// @return row and column of the first value that the file cannot hold, or not exactly if
    ///     `exact` is true; nothing is written in this case
    std::optional<std::pair<std::size_t, std::size_t>> addArray(
        const std::optional<std::string>& name, int type, int elementType, const py::array& array,
        const IdVector& ids, const NamedAttributes& steps, const AttributeMap& attributes,
        bool exact) {
        const std::optional<ArrayView> view = viewOf(array);
        if (!view) {
            throw py::type_error("expected a numeric array of one or two dimensions");
        }
        try {
            run([&](Mek2::Model& model) {
                const Mek2::Array1d<unsigned int> geometries(kinds_.geometries(ids));
                std::visit(
                    [&](const auto& values) {
                        addArrayProperty(model, name, static_cast<Mek2::DatasetType>(type), values,
                                         geometries, toSteps(steps), toAttributes(attributes));
                    },
                    toLibraryArray(*view, static_cast<ElementType>(elementType),
                                   exact ? Rounding::Refused : Rounding::Allowed));
            });
        } catch (const RefusedValue& value) {
            return std::make_pair(value.row, value.column);
        }
        return std::nullopt;
    }

private:
    unsigned int addPath(Mek2::Model& model, const std::string& path, const std::string& separator,
                         const AttributeMap& attributes) {
        std::map<std::string, Mek2::Attributes> component;
        component.emplace(path, toAttributes(attributes));
        try {
            const unsigned int id = model.addAssemblyComponents(component, separator)[0];
            kinds_.addPath(endsWith(path, separator), id);
            return id;
        } catch (const Tyr::Exception::NotYetImplemented&) {
            const std::string message = "the path '" + path + "' starts with another root";
            throw Tyr::Exception::NotYetImplemented(message.c_str());
        }
    }

    std::mutex mutex_;
    Mek2::Model model_;
    bool isOpen_ = false;
    NodeKinds kinds_;
};

} // namespace

PYBIND11_MODULE(_core, module) {
    module.doc() = "Model with arguments of basic types; use the package mekapi2.";
    module.attr("version") = MEKAPI2_VERSION;
    registerErrors();
    py::class_<Model>(module, "Model")
        .def(py::init())
        .def("save_to", &Model::saveTo, py::arg("path"), py::arg("overwrite"), py::arg("tool_name"),
             py::arg("tool_version"), py::arg("journal"), py::arg("replace_when_complete"),
             py::arg("threads"))
        .def("close", &Model::close)
        .def("abandon", &Model::abandon)
        .def("checkpoint", &Model::checkpoint, py::arg("durable"))
        .def("node_kind", &Model::nodeKind, py::arg("id"))
        .def("add_node", &Model::addNode, py::arg("type"), py::arg("name"), py::arg("attributes"))
        .def("set_current_node", &Model::setCurrentNode, py::arg("id"))
        .def("move_to_parent", &Model::moveToParent)
        .def("node_id_of_path", &Model::nodeIdOfPath, py::arg("path"), py::arg("separator"))
        .def("node_id_of_names", &Model::nodeIdOfNames, py::arg("names"))
        .def("set_node_data", &Model::setNodeData, py::arg("id"), py::arg("properties"),
             py::arg("attributes"))
        .def("add_paths", &Model::addPaths, py::arg("paths"), py::arg("separator"))
        .def("add_array", &Model::addArray, py::arg("name"), py::arg("type"),
             py::arg("element_type"), py::arg("array"), py::arg("ids"), py::arg("steps"),
             py::arg("attributes"), py::arg("exact"));
}

} // namespace MekPython
