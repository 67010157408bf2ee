#include "mekvtu/export.hpp"

#include "mekreader/error.hpp"
#include "mekvtu/collectionfile.hpp"
#include "mekvtu/meshpart.hpp"
#include "mekvtu/outputfolder.hpp"
#include "mekvtu/results.hpp"
#include "mekvtu/timeline.hpp"
#include "mekvtu/vtufile.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <set>
#include <string_view>

namespace MekVtu {

namespace {

/// The start of `name`, at most `size` bytes, that does not end within a character of UTF-8.
std::string_view startOf(std::string_view name, std::size_t size) {
    const auto isContinued = [&](std::size_t end) {
        return end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80;
    };
    std::size_t end = std::min(size, name.size());
    while (end > 0 && isContinued(end)) {
        --end;
    }
    return name.substr(0, end);
}

/// The start of `name` with an underscore for each byte that some file system does not accept.
std::string fileName(std::string_view name) {
    constexpr std::size_t largestSize = 64; // many file systems allow 255 bytes for the whole name
    std::string safe;
    for (const char character : startOf(name, largestSize)) {
        const bool isSafe = std::isalnum(static_cast<unsigned char>(character)) != 0;
        safe += isSafe ? character : '_';
    }
    return safe;
}

std::string paddedTo(std::size_t digits, std::size_t number) {
    const std::string text = std::to_string(number);
    return std::string(digits - std::min(digits, text.size()), '0') + text;
}

void addColor(VtuFile& output, const char* name, const std::array<float, 4>& color) {
    output.add(Section::Field, name, 4, std::vector<float>(color.begin(), color.end()));
}

void addMaterial(VtuFile& output, const MekReader::Material& material) {
    addColor(output, "Diffuse Color", material.diffuseColor);
    addColor(output, "Specular Color", material.specularColor);
    addColor(output, "Emissive Color", material.emissiveColor);
    addColor(output, "Ambient Color", material.ambientColor);
    output.add(Section::Field, "Transparency", 1, std::vector<float>{material.transparency});
    output.add(Section::Field, "Shininess", 1, std::vector<float>{material.shininess});
    output.add(Section::Field, "Material Flag", 1,
               std::vector<std::uint8_t>{static_cast<std::uint8_t>(material.materialFlag ? 1 : 0)});
}

void addMesh(VtuFile& output, const Mesh& mesh) {
    output.add(Section::Points, "Points", 3, mesh.points);
    output.add(Section::Cells, "connectivity", 1, mesh.connectivity);
    output.add(Section::Cells, "offsets", 1, mesh.offsets);
    output.add(Section::Cells, "types", 1, mesh.types);
}

/// Adds the coordinate row of each point, under the name that VTK's own filters use for it. A model
/// converted from the output of such a filter may already have a result of this name.
void addRows(VtuFile& output, const Mesh& mesh) {
    constexpr const char* name = "vtkOriginalPointIds";
    if (!output.has(Section::PointData, name)) {
        output.add(Section::PointData, name, 1, mesh.rows);
    }
}

/// One line for each variable without an array; the steps of one variable share a line.
std::set<std::string> notesOnCircles(const MekReader::File& file) {
    std::set<std::string> notes;
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            if (file.hasCircularLinks(variable)) {
                notes.insert("\"" + std::string(MekReader::splitName(variable.name).quantity) +
                             "\" of node " + std::to_string(node.id) + " (\"" + node.name +
                             "\") has no array: its links form a circle; it is left out");
            }
        }
    }
    return notes;
}

class Export {
public:
    Export(MekReader::File& file, const std::filesystem::path& directory, const std::string& stem,
           const ExportOptions& options)
        : directory_(directory),
          stem_(stem),
          options_(options),
          timeline_(timeline(file)),
          meshParts_(file),
          results_(file),
          notes_(notesOnCircles(file)) {}

    ExportSummary run() {
        OutputFolder folder(directory_);
        for (std::size_t step = 0; step < timeline_.steps.size(); ++step) {
            const std::vector<MeshPart>& parts = meshParts_.at(timeline_.steps[step].name);
            for (std::size_t part = 0; part < parts.size(); ++part) {
                reportProgress(step * parts.size() + part, timeline_.steps.size() * parts.size());
                write(folder, parts[part], step);
            }
        }
        if (entries_.empty()) {
            throw MekReader::Error("no geometry has coordinates");
        }
        const std::string collection = stem_ + ".pvd";
        folder.add(collection, [this](OutputFile& file) { writeCollection(file, entries_); });
        folder.finish();
        reportProgress(1, 1);
        return summaryOf(folder.pathOf(collection));
    }

private:
    ExportSummary summaryOf(const std::filesystem::path& collection) const {
        ExportSummary summary;
        summary.collection = collection;
        std::set<std::uint64_t> parts;
        for (const CollectionEntry& entry : entries_) {
            parts.insert(entry.part);
        }
        summary.meshParts = parts.size();
        summary.steps = timeline_.steps.size();
        summary.files = entries_.size();
        summary.notes.assign(notes_.begin(), notes_.end());
        summary.notes.insert(summary.notes.end(), results_.notes().begin(), results_.notes().end());
        if (!timeline_.isByAttributes && timeline_.steps.size() > 1) {
            summary.notes.push_back(
                "no attribute gives every step a different time: steps are "
                "numbered from 0, and the .pvd file lists their names");
        }
        return summary;
    }

    void reportProgress(std::size_t done, std::size_t all) const {
        if (options_.progress) {
            options_.progress(done, all);
        }
    }

    void write(OutputFolder& folder, const MeshPart& part, std::size_t stepNumber) {
        const TimeStep& step = timeline_.steps[stepNumber];
        VtuFile output(part.mesh.rows.size(), part.mesh.types.size());
        if (!step.name.empty()) {
            output.add(Section::Field, "TimeValue", 1, std::vector<double>{step.time});
        }
        if (part.shape != nullptr && part.shape->material) {
            addMaterial(output, *part.shape->material);
        }
        addMesh(output, part.mesh);
        results_.addTo(output, part, step.name);
        addRows(output, part.mesh);
        const std::string name = nameFor(part, stepNumber);
        folder.add(name, [&](OutputFile& file) {
            output.write(file, options_.raw ? Encoding::Raw : Encoding::Base64);
        });
        entries_.push_back({step.time, step.name, part.number, part.name, name});
    }

    std::string nameFor(const MeshPart& part, std::size_t stepNumber) const {
        const std::size_t digits = std::to_string(timeline_.steps.size() - 1).size();
        return stem_ + "-" + std::to_string(part.number) + "-" + fileName(part.geometry->name) +
               (part.isOfUnusedNodes ? "-nodes" : "") + "-" + paddedTo(digits, stepNumber) + ".vtu";
    }

    std::filesystem::path directory_;
    std::string stem_;
    const ExportOptions& options_;
    Timeline timeline_;
    MeshParts meshParts_;
    Results results_;
    std::set<std::string> notes_; ///< on variables without an array
    std::vector<CollectionEntry> entries_;
};

} // namespace

ExportSummary exportVtu(MekReader::File& file, const std::filesystem::path& directory,
                        const std::string& stem, const ExportOptions& options) {
    return Export(file, directory, stem, options).run();
}

} // namespace MekVtu
