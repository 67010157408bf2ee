#include "mekvtu/results.hpp"

#include <cstring>
#include <utility>

namespace MekVtu {

namespace {

using MekReader::Variable;

constexpr unsigned vectorWidth = 3;

/// Displacements have the variable type of all vectors, so the name decides: the default name of
/// the library, or the name that the solver uses.
bool isDisplacement(std::string_view name) { return name == "Displacement" || name == "DISP"; }

std::vector<std::uint32_t> rowsOf(const MekReader::Values& values,
                                  const std::vector<std::uint32_t>& rows) {
    if (rows.size() == values.rows()) {
        return values.words; // the rows ascend, so these are all
    }
    std::vector<std::uint32_t> words;
    words.reserve(rows.size() * values.width);
    for (const std::uint32_t row : rows) {
        const auto* const start = values.words.data() + std::size_t{row} * values.width;
        words.insert(words.end(), start, start + values.width);
    }
    return words;
}

void placeVectors(const Placement& placement, std::vector<std::uint32_t>& words) {
    if (words.empty()) {
        return;
    }
    std::vector<float> vectors(words.size());
    std::memcpy(vectors.data(), words.data(), words.size() * sizeof(float));
    placement.placeVectors(vectors);
    std::memcpy(words.data(), vectors.data(), words.size() * sizeof(float));
}

} // namespace

void Results::addTo(VtuFile& output, const MeshPart& part, std::string_view step) {
    std::vector<const Variable*> variables; // those that have an array
    std::set<std::string_view> ofThisStep;
    for (const Variable& variable : part.geometry->variables) {
        if (file_.hasCircularLinks(variable)) {
            continue;
        }
        variables.push_back(&variable);
        const MekReader::VariableName name = MekReader::splitName(variable.name);
        if (name.step && !name.step->empty() && *name.step == step) {
            ofThisStep.insert(name.quantity);
        }
    }
    for (const Variable* const variable : variables) {
        const MekReader::VariableName name = MekReader::splitName(variable->name);
        const bool isShown = name.step.value_or("").empty() ? ofThisStep.count(name.quantity) == 0
                                                            : *name.step == step;
        if (isShown && !part.source.holds(&file_.owner(*variable))) {
            add(output, part, *variable);
        }
    }
}

void Results::add(VtuFile& output, const MeshPart& part, const Variable& variable) {
    const MekReader::Values& values = valuesOf(variable);
    const std::string_view name = MekReader::splitName(variable.name).quantity;
    const bool isOfNodes = isNodeResult(variable);
    if (isOfNodes && values.rows() == part.mesh.coordinateRows) {
        addToPoints(output, part, name, values);
        return;
    }
    if (part.isOfUnusedNodes) {
        return; // exported with the mesh part of the shape
    }
    const bool isOfElements = isElementResult(variable);
    if (isOfElements && values.rows() == part.mesh.types.size()) {
        output.addWords(Section::CellData, name, values.width, values.words, values.isFloat);
        return;
    }
    if (isOfNodes || isOfElements) {
        notes_.insert("\"" + std::string(name) + "\" of \"" + part.name + "\" has " +
                      std::to_string(values.rows()) + " rows for " +
                      (isOfNodes ? std::to_string(part.mesh.coordinateRows) + " nodes"
                                 : std::to_string(part.mesh.types.size()) + " elements") +
                      "; written as field data");
    }
    output.addWords(Section::Field, name, values.width, values.words, values.isFloat);
}

void Results::addToPoints(VtuFile& output, const MeshPart& part, std::string_view name,
                          const MekReader::Values& values) {
    std::vector<std::uint32_t> words = rowsOf(values, part.mesh.rows);
    if (isDisplacement(name) && values.width == vectorWidth && values.isFloat) {
        placeVectors(part.placement, words);
    }
    output.addWords(Section::PointData, name, values.width, words, values.isFloat);
}

const MekReader::Values& Results::valuesOf(const Variable& variable) {
    if (!MekReader::stepOf(variable.name).empty()) {
        ofStep_ = readValues(file_, variable);
        return ofStep_;
    }
    const Variable* const owner = &file_.owner(variable);
    const auto found = withoutStep_.find(owner);
    return found != withoutStep_.end()
               ? found->second
               : withoutStep_.emplace(owner, readValues(file_, variable)).first->second;
}

} // namespace MekVtu
