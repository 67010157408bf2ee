/// @file
/// One file of VTK's XML format for unstructured grids.
///
/// Arrays follow the XML as appended data, raw and compressed by zlib, as VTK's own writer stores
/// them. Every value is kept bit for bit.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MekVtu {

/// In the order of a file.
enum class Section { Field, PointData, CellData, Points, Cells };

class VtuFile {
public:
    VtuFile(std::uint64_t points, std::uint64_t cells);

    /// Adds an array of rows of `components` values each. If the section already has an array of
    /// this name, " (2)" or the next free number is appended.
    template <class T>
    void add(Section section, std::string_view name, unsigned components,
             const std::vector<T>& values);

    /// Adds words that are the bits of floats or of unsigned numbers.
    void addWords(Section section, std::string_view name, unsigned components,
                  const std::vector<std::uint32_t>& words, bool areFloats);

    /// Whether a section has an array of this name.
    bool has(Section section, std::string_view name) const;

    /// @throws MekReader::Error the file cannot be written
    void write(const std::filesystem::path& path) const;

private:
    struct Array {
        Section section;
        std::string name; ///< escaped for XML
        const char* type;
        unsigned components;
        std::uint64_t rows;
        std::string stored; ///< form in the appended data
    };

    void addBytes(Section section, std::string_view name, const char* type, unsigned components,
                  std::uint64_t rows, std::string_view bytes);
    std::string uniqueName(Section section, std::string_view name);
    std::vector<std::uint64_t> offsets() const;
    std::string sectionText(Section section, const char* tag,
                            const std::vector<std::uint64_t>& offsets) const;

    std::uint64_t points_;
    std::uint64_t cells_;
    std::vector<Array> arrays_; ///< in the order of the XML
    std::set<std::pair<Section, std::string>> names_;
};

} // namespace MekVtu
