#include "fault/writecycles.hpp"

#include "fault/faults.hpp"

#include <tyr/exception/exception.hpp>

#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace Testing {

using namespace Tyr::Mek2;

namespace {

constexpr std::size_t rows = 20;

template <class T>
std::vector<T> valuesFrom(unsigned int start, std::size_t count) {
    std::vector<T> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<T>(start + i * i);
    }
    return values;
}

std::vector<std::uint32_t> bitsOf(const std::vector<float>& values) {
    std::vector<std::uint32_t> bits(values.size());
    std::memcpy(bits.data(), values.data(), values.size() * sizeof(float));
    return bits;
}

template <class T>
Array2d<T> tableFrom(unsigned int start, std::size_t columns) {
    return Array2d<T>(rows, columns, valuesFrom<T>(start, rows * columns));
}

Attributes someAttributes() {
    Attributes attributes;
    attributes.set("unsigned", 7U);
    attributes.set("float", 1.5F);
    attributes.set("a text with a long key", "a text that needs memory of its own");
    return attributes;
}

StepList twoSteps() {
    StepList steps(2);
    steps.set(0, Step{"first step of the list", someAttributes()});
    steps.set(1, Step{"second step of the list", someAttributes()});
    return steps;
}

NodeProperties property(PropertyType type) {
    NodeProperties properties;
    properties.set(type, std::vector<float>{1, 2, 3});
    return properties;
}

SaverOptions toolOptions() {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "a tool that tests failures";
    options.toolVersion = "a version of this tool";
    return options;
}

const std::string rootName = "a root with a long name";
const std::string groupName = "a group with a long name";
const std::string shapeName = "a shape with a long name";
const std::string rootPath = "/" + rootName;
const std::vector<std::string> paths = {rootPath + "/part of long name/",
                                        rootPath + "/part of long name/body of long name",
                                        rootPath + "/part of long name/skin of long name"};
const std::map<std::string, Attributes> pathsWithAttributes = {
    {rootPath + "/second part of long name/", someAttributes()}, {paths[1], Attributes()}};
const std::string skinPath = paths[2] + "/skin of long name";
const std::vector<std::string> skinNames = {rootName, "part of long name", "skin of long name"};

const Attributes attributes = someAttributes();
const Attributes noAttributes;
const NodeProperties groupProperties = property(PropertyType::Translation);
const NodeProperties shapeProperties = property(PropertyType::DiffuseColor);
const SaverOptions options = toolOptions();
const Step noStep;
const Step oneStep{"the only step", attributes};
const StepList steps = twoSteps();
const Array2d<float> coordinates = tableFrom<float>(1, 3);
const Array1d<unsigned int> numbers(valuesFrom<unsigned int>(2, 60));
const Array2d<unsigned int> sixes = tableFrom<unsigned int>(3, 6);
const Array1d<float> scalars(valuesFrom<float>(4, 60));
const std::string resultName = "a result with a long name";
const std::string seriesName = "a result at two steps";

} // namespace

WriteCycles::WriteCycles(const std::string& folder, Reaction reaction, unsigned int results)
    : cycles{{folder + "/first", results}, {folder + "/second", 1}}, reaction_(reaction) {}

void WriteCycles::run() {
    for (Cycle& cycle : cycles) {
        if (!model_ && !attempt("Model", [&] { model_ = std::make_unique<Model>(); })) {
            gaveUp_ = false;
            model_ = std::make_unique<Model>();
        }
        cycle.isOpen = attempt("saveTo", [&] { model_->saveTo(cycle.path, options); });
        if (cycle.isOpen) {
            addNodes(cycle);
            useValues();
            addArrays(cycle);
        }
        end(cycle);
    }
}

void WriteCycles::runAgain(const std::string& path) {
    if (!model_) {
        model_ = std::make_unique<Model>();
    }
    model_->saveTo(path, options);
    model_->addNode(NodeType::Group, rootName, attributes);
    const unsigned int shape = model_->addNode(NodeType::Shape, shapeName);
    model_->addArrayProperty(DatasetType::Coordinates, coordinates, shape, noStep);
    model_->close();
    model_.reset();
}

template <class Action>
bool WriteCycles::attempt(const char* operation, const Action& action) {
    if (gaveUp_) {
        return false;
    }
    try {
        const LibraryCall call;
        action();
        return true;
    } catch (const Tyr::Exception::Exception& failure) {
        heard.push_back({operation, failure.code(), failure.what()});
    } catch (const std::bad_alloc&) {
        heard.push_back({operation, 0, ""});
    }
    gaveUp_ = reaction_ != Reaction::GoOn;
    return false;
}

void WriteCycles::end(Cycle& cycle) {
    gaveUp_ = false;
    if (reaction_ == Reaction::Destroy) {
        attempt("destruction", [&] { model_.reset(); });
    } else {
        cycle.isClosed = attempt("close", [&] { model_->close(); });
        gaveUp_ = false;
        attempt("close after close", [&] { model_->close(); });
    }
    gaveUp_ = false;
}

void WriteCycles::addNodes(Cycle& cycle) {
    unsigned int id = 0;
    const auto add = [&](NodeType type, const std::string& name, const Attributes& given) {
        const bool isAdded = attempt("addNode", [&] { id = model_->addNode(type, name, given); });
        if (isAdded) {
            cycle.nodes[id] = name;
        }
        return isAdded;
    };
    add(NodeType::RootGroup, rootName, attributes);
    std::optional<Array1d<unsigned int>> ids;
    body_ = skin_ = 0;
    if (attempt("components", [&] { ids = model_->addAssemblyComponents(paths); })) {
        body_ = (*ids)[1];
        skin_ = (*ids)[2];
        cycle.nodes[body_] = "body of long name";
        cycle.nodes[skin_] = "skin of long name";
    }
    attempt("components", [&] { model_->addAssemblyComponents(pathsWithAttributes); });
    attempt("setCurrentNodeId", [&] { model_->setCurrentNodeId(1); });
    if (add(NodeType::Group, groupName, attributes)) {
        attempt("setNodeData", [&] { model_->setNodeData(id, groupProperties, attributes); });
    }
    attempt("moveToParentNode", [&] { model_->moveToParentNode(); });
    if (add(NodeType::Shape, shapeName, noAttributes)) {
        attempt("setNodeData", [&] { model_->setNodeData(id, shapeProperties); });
    } else if (model_->getNodeId(rootPath + "/" + shapeName) != 0) {
        heard.push_back({"a shape that was refused is there", -1, ""});
    }
    attempt("getNodeId", [&] { id = model_->getNodeId(skinPath); });
    attempt("getNodeId", [&] { id = model_->getNodeId(skinNames); });
}

/// The write cycle goes on in the model that it was moved to.
void WriteCycles::useValues() {
    attempt("arrays", [] {
        Array1d<float> column(2);
        column = scalars;
        Array2d<unsigned int> table(sixes);
        table = Array2d<unsigned int>(1, 2);
        const Array1d<float> copy(column);
    });
    attempt("attributes", [] {
        Attributes copy(attributes);
        copy.set("a text with a long key", std::vector<float>(7));
        copy = attributes;
        NodeProperties look(shapeProperties);
        look.set(PropertyType::Shininess, "a text that does not fit here");
        look = groupProperties;
    });
    attempt("steps", [] {
        StepList list(steps);
        list.set(0, oneStep);
        list = steps;
        const Step copy = list[1];
    });
    attempt("moved model", [&] {
        auto next = std::make_unique<Model>(std::move(*model_));
        model_.swap(next);
    });
    attempt("model moved to", [&] {
        auto next = std::make_unique<Model>();
        *next = std::move(*model_);
        model_.swap(next);
    });
}

void WriteCycles::addArrays(Cycle& cycle) {
    if (body_ == 0) {
        return; // nothing to attach arrays to
    }
    const auto add = [&](const char* operation, unsigned int id, const std::string& name,
                         const std::vector<std::uint32_t>& bits, const auto& action) {
        if (attempt(operation, action)) {
            cycle.arrays[{id, name}] = bits;
        }
    };
    const Array1d<unsigned int> both({body_, skin_});
    add("coordinates", skin_, "Coordinates", bitsOf(valuesFrom<float>(1, rows * 3)),
        [&] { model_->addArrayProperty(DatasetType::Coordinates, coordinates, both, noStep); });
    add("numbers", body_, "Node Ids", valuesFrom<unsigned int>(2, 60), [&] {
        model_->addArrayProperty(DatasetType::NodeIds, numbers, body_, noStep, attributes);
    });
    add("sixes", skin_, resultName + "\x1Ethe only step", valuesFrom<unsigned int>(3, rows * 6),
        [&] {
            model_->addArrayProperty(resultName, DatasetType::ResultA6, sixes, skin_, oneStep);
        });
    const std::vector<std::uint32_t> series = bitsOf(valuesFrom<float>(4, 60));
    add("series", skin_, seriesName + "\x1Esecond step of the list", series, [&] {
        model_->addArrayProperty(seriesName, DatasetType::ResultA1, scalars, both, steps,
                                 attributes);
    });
    for (unsigned int number = 0; number < cycle.results; ++number) {
        const Step step{"step of the number " + std::to_string(number), attributes};
        const std::vector<float> values = valuesFrom<float>(number, 60);
        add("result", body_, resultName + '\x1E' + step.name, bitsOf(values), [&] {
            model_->addArrayProperty(resultName, DatasetType::ResultA1, Array1d<float>(values),
                                     body_, step);
        });
    }
}

} // namespace Testing
