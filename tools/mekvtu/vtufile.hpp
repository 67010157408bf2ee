/// @file
/// One file of VTK's XML format for unstructured grids.
///
/// Arrays are compressed by zlib, as VTK's own writer stores them. Every value is kept bit for bit.
#pragma once

#include "mekvtu/outputfile.hpp"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MekVtu {

/// Where the arrays are stored.
enum class Encoding {
    Base64, ///< in their XML elements
    Raw     ///< after all elements, without an encoding; this is no valid XML
};

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

    /// @throws Console::FileError
    void write(OutputFile& file, Encoding encoding) const;

private:
    struct Array {
        Section section;
        std::string name; ///< escaped for XML
        const char* type;
        unsigned components;
        std::uint64_t rows;
        std::string header; ///< lengths of the blocks
        std::string blocks; ///< compressed
    };

    void addBytes(Section section, std::string_view name, const char* type, unsigned components,
                  std::uint64_t rows, std::string_view bytes);
    std::string uniqueName(Section section, std::string_view name);
    std::vector<std::uint64_t> offsets() const;
    void writeSection(OutputFile& file, Section section, const char* tag, Encoding encoding) const;

    std::uint64_t points_;
    std::uint64_t cells_;
    std::vector<Array> arrays_; ///< in the order of the XML
    std::set<std::pair<Section, std::string>> names_;
};

} // namespace MekVtu
