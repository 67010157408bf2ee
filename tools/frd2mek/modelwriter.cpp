#include "modelwriter.hpp"

#include "resultattributes.hpp"

#include <tyr/mek2/threads.hpp>

#include <algorithm>
#include <utility>

namespace Frd {

namespace {

using Tyr::Mek2::Array1d;
using Tyr::Mek2::Array2d;
using Tyr::Mek2::Attributes;
using Tyr::Mek2::DatasetType;
using Tyr::Mek2::Step;

constexpr unsigned int rootId = 1;
constexpr std::size_t vectorWidth = 3;
constexpr std::size_t tensorWidth = 6;
const std::string displacementName = "DISP";

/// No name contains this character; a slash can occur.
const std::string separator = "\x1F";

/// Attribute keys of the root group, by the names in the header of the result file.
const std::map<std::string, std::string> headerAttributes{
    {"USER", "User"},       {"DATE", "Date"},
    {"TIME", "Time"},       {"HOST", "Host"},
    {"PGM", "Program"},     {"VERSION", "ProgramVersion"},
    {"DIR", "Directory"},   {"COMPILETIME", "ProgramCompileTime"},
    {"DBN", "DataBaseName"}};

Tyr::Mek2::SaverOptions saverOptions(bool overwrite, unsigned int threads) {
    Tyr::Mek2::SaverOptions options;
    options.overwrite = overwrite;
    options.replaceWhenComplete = true;
    options.toolName = "frd2mek";
    options.toolVersion = FRD2MEK_VERSION;
    options.relinkReplaced = true;
    options.parallelFor = Tyr::Mek2::parallelForThreads(threads);
    return options;
}

template <class T>
Array1d<T> columnOf(const std::vector<T>& values) {
    return Array1d<T>(values);
}

template <class T>
Array2d<T> tableOf(const std::vector<T>& values, std::size_t width) {
    Array2d<T> table(values.size() / width, width);
    table.copy_from(values.data());
    return table;
}

bool areAllOfKind(const std::vector<Component>& components, ComponentKind kind) {
    return std::all_of(components.begin(), components.end(),
                       [&](const Component& component) { return component.kind == kind; });
}

/// The names of the groups, by material number: the material's name in the file, or "Material N".
/// The names are unique, because a path identifies a node by names alone.
std::map<std::int64_t, std::string> groupNamesOf(const Job& job, const Mesh& mesh) {
    std::map<std::int64_t, std::string> names;
    std::set<std::string> taken;
    for (const auto& [key, elements] : mesh.elements) {
        const std::int64_t material = key.first;
        if (names.count(material) != 0) {
            continue;
        }
        const std::string number = std::to_string(material);
        const auto found = job.materials.find(material);
        const bool hasName = found != job.materials.end() && !found->second.empty();
        std::string name = hasName ? found->second : "Material " + number;
        while (!taken.insert(name).second) {
            name += " (" + number + ")";
        }
        names[material] = name;
    }
    return names;
}

Attributes attributesOf(const Job& job) {
    Attributes attributes;
    std::size_t headings = 0;
    for (const NamedValue& record : job.records) {
        if (record.value.empty()) {
            continue;
        }
        const auto known = headerAttributes.find(record.name);
        if (known != headerAttributes.end()) {
            attributes.set(known->second, record.value);
        } else {
            ++headings;
            attributes.set(headings == 1 ? "Heading" : "Heading " + std::to_string(headings),
                           record.value);
        }
    }
    return attributes;
}

} // namespace

void ModelWriter::open(const std::filesystem::path& path, bool overwrite, unsigned int threads) {
    Console::holdingSignals([&] {
        model_.saveTo(path.native(), saverOptions(overwrite, threads));
        registration_.emplace(std::filesystem::u8path(model_.temporaryPath()));
    });
}

void ModelWriter::writeMesh(const Job& job, const std::string& rootName, const NodeTable& nodes,
                            const Mesh& mesh) {
    addTree(job, job.name.empty() ? rootName : job.name, mesh);
    writeNodes(nodes, mesh);
    std::size_t shape = 0;
    for (const auto& [key, elements] : mesh.elements) {
        writeElements(shapes_[shape], key.second, elements);
        summary_.elements += elements.ids.size();
        ++shape;
    }
    summary_.nodes = nodes.size();
    summary_.shapes = shapes_.size();
}

void ModelWriter::writeResult(const ResultHeader& header, const SurveyedResult& survey,
                              const std::vector<float>& values) {
    const std::size_t width = header.components.size();
    const bool isDisplacement = width == vectorWidth && header.name == displacementName;
    const bool isVector = width == vectorWidth && areAllOfKind(header.components, VectorKind);
    const bool isTensor = width == tensorWidth && areAllOfKind(header.components, TensorKind);
    const Step step = stepOf(header, survey);
    if (isDisplacement || isVector || isTensor) {
        const DatasetType type = isDisplacement ? DatasetType::Displacement3
                                 : isVector     ? DatasetType::ResultA3
                                                : DatasetType::ResultA6;
        addResult(header.name, type, tableOf(values, width), step,
                  resultAttributesOf(header, survey));
    } else if (width == 1) {
        addResult(header.name, DatasetType::ResultA1, columnOf(values), step,
                  componentAttributesOf(header, header.components.front(), survey));
    } else {
        writeComponents(header, survey, step, values);
    }
}

void ModelWriter::close() {
    model_.close();
    summary_.results = stepCounts_.size();
    summary_.steps = stepNames_.size();
}

/// Adds the root group, a group for each material, and in it a shape for each element type.
void ModelWriter::addTree(const Job& job, const std::string& rootName, const Mesh& mesh) {
    const auto groupNames = groupNamesOf(job, mesh);
    const std::string rootPath = separator + rootName + separator;
    std::vector<std::string> paths;
    for (const auto& [key, elements] : mesh.elements) {
        const auto& [material, type] = key;
        std::string& path = paths.emplace_back(rootPath);
        path += groupNames.at(material);
        path += separator;
        path += elementTypes[type - 1].name;
    }
    if (paths.empty()) {
        paths.push_back(rootPath + "Nodes");
    }
    shapes_ = model_.addAssemblyComponents(paths, separator);
    describeGroups(job, rootName, groupNames);
}

void ModelWriter::describeGroups(const Job& job, const std::string& rootName,
                                 const std::map<std::int64_t, std::string>& groupNames) {
    model_.setNodeData(rootId, {}, attributesOf(job));
    for (const auto& [material, name] : groupNames) {
        Attributes attributes;
        setWhole(attributes, "Material", material);
        const std::vector<std::string> path{rootName, name};
        model_.setNodeData(model_.getNodeId(path), {}, attributes);
    }
}

void ModelWriter::writeNodes(const NodeTable& nodes, const Mesh& mesh) {
    model_.addArrayProperty(DatasetType::Coordinates, tableOf(mesh.coordinates, vectorWidth),
                            shapes_, Step{});
    model_.addArrayProperty(DatasetType::NodeIds, columnOf(nodes.ids()), shapes_, Step{});
}

void ModelWriter::writeElements(unsigned int shape, std::size_t type, const ElementSet& elements) {
    static constexpr DatasetType connectivity[] = {
        DatasetType::Connectivity0, DatasetType::Connectivity1, DatasetType::Connectivity2};
    static constexpr DatasetType polylength[] = {DatasetType::Polylength0, DatasetType::Polylength1,
                                                 DatasetType::Polylength2};
    const ElementType& elementType = elementTypes[type - 1];
    const std::size_t dimensionIndex = elementType.dimension - 1;
    const Array1d<unsigned int> lengths(elements.ids.size(),
                                        static_cast<unsigned int>(elementType.nodes));
    model_.addArrayProperty(DatasetType::ElementIds, columnOf(elements.ids), shape, Step{});
    model_.addArrayProperty(connectivity[dimensionIndex], columnOf(elements.nodeRows), shape,
                            Step{});
    model_.addArrayProperty(polylength[dimensionIndex], lengths, shape, Step{});
}

void ModelWriter::writeComponents(const ResultHeader& header, const SurveyedResult& survey,
                                  const Step& step, const std::vector<float>& values) {
    const std::size_t width = header.components.size();
    for (std::size_t index = 0; index < width; ++index) {
        const Component& component = header.components[index];
        Array1d<float> column(values.size() / width);
        for (std::size_t row = 0; row < column.size(); ++row) {
            column[row] = values[row * width + index];
        }
        addResult(header.name + "." + component.name, DatasetType::ResultA1, column, step,
                  componentAttributesOf(header, component, survey));
    }
}

template <class Array>
void ModelWriter::addResult(const std::string& name, DatasetType type, const Array& array,
                            Step step, const Attributes& attributes) {
    step.name = uniqueStepName(name, step.name);
    model_.addArrayProperty(name, type, array, shapes_, step, attributes);
    stepNames_.insert(step.name);
}

/// Appends a number to the step of a second result of the same name and step, so that it does not
/// replace the first.
std::string ModelWriter::uniqueStepName(const std::string& result, const std::string& step) {
    const unsigned int count = ++stepCounts_[result][step];
    return count == 1 ? step : step + " (" + std::to_string(count) + ")";
}

} // namespace Frd
