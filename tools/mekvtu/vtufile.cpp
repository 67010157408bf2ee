#include "mekvtu/vtufile.hpp"

#include "mekreader/error.hpp"
#include "mekvtu/xmlescape.hpp"

#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <new>

namespace MekVtu {

namespace {

constexpr std::size_t vtkBlockSize = std::size_t{1} << 20;

constexpr const char* typeName(float) { return "Float32"; }
constexpr const char* typeName(double) { return "Float64"; }
constexpr const char* typeName(std::uint8_t) { return "UInt8"; }
constexpr const char* typeName(std::uint32_t) { return "UInt32"; }
constexpr const char* typeName(std::int64_t) { return "Int64"; }

bool isLittleEndian() {
    const std::uint16_t one = 1;
    return *reinterpret_cast<const unsigned char*>(&one) == 1;
}

template <class T>
std::string_view bytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

std::string compressed(std::string_view bytes) {
    std::string output(compressBound(static_cast<uLong>(bytes.size())), '\0');
    auto length = static_cast<uLongf>(output.size());
    // every file of a series repeats the arrays of the mesh: even the fastest level helps
    const int result = compress2(reinterpret_cast<Bytef*>(output.data()), &length,
                                 reinterpret_cast<const Bytef*>(bytes.data()),
                                 static_cast<uLong>(bytes.size()), Z_BEST_SPEED);
    if (result != Z_OK) {
        throw std::bad_alloc();
    }
    output.resize(length);
    return output;
}

/// An array in the appended data: number of VTK's blocks, length of a block, length of the last
/// block if it is shorter, compressed length of each block; then the compressed blocks.
std::string storedForm(std::string_view bytes) {
    std::vector<std::uint64_t> header = {0, vtkBlockSize, bytes.size() % vtkBlockSize};
    std::string blocks;
    for (std::size_t done = 0; done < bytes.size(); done += vtkBlockSize) {
        const std::string block = compressed(bytes.substr(done, vtkBlockSize));
        header.push_back(block.size());
        blocks += block;
        ++header[0];
    }
    return std::string(bytesOf(header)) + blocks;
}

} // namespace

VtuFile::VtuFile(std::uint64_t points, std::uint64_t cells) : points_(points), cells_(cells) {}

template <class T>
void VtuFile::add(Section section, std::string_view name, unsigned components,
                  const std::vector<T>& values) {
    addBytes(section, name, typeName(T{}), components, values.size() / components, bytesOf(values));
}

template void VtuFile::add(Section, std::string_view, unsigned, const std::vector<float>&);
template void VtuFile::add(Section, std::string_view, unsigned, const std::vector<double>&);
template void VtuFile::add(Section, std::string_view, unsigned, const std::vector<std::uint8_t>&);
template void VtuFile::add(Section, std::string_view, unsigned, const std::vector<std::uint32_t>&);
template void VtuFile::add(Section, std::string_view, unsigned, const std::vector<std::int64_t>&);

void VtuFile::addWords(Section section, std::string_view name, unsigned components,
                       const std::vector<std::uint32_t>& words, bool areFloats) {
    addBytes(section, name, areFloats ? typeName(float{}) : typeName(std::uint32_t{}), components,
             words.size() / components, bytesOf(words));
}

void VtuFile::addBytes(Section section, std::string_view name, const char* type,
                       unsigned components, std::uint64_t rows, std::string_view bytes) {
    const auto position =
        std::upper_bound(arrays_.begin(), arrays_.end(), section,
                         [](Section wanted, const Array& array) { return wanted < array.section; });
    arrays_.insert(position,
                   {section, uniqueName(section, name), type, components, rows, storedForm(bytes)});
}

bool VtuFile::has(Section section, std::string_view name) const {
    return names_.count({section, escapeXml(name)}) != 0;
}

std::string VtuFile::uniqueName(Section section, std::string_view name) {
    const std::string text = escapeXml(name);
    std::string unique = text;
    for (int number = 2; !names_.emplace(section, unique).second; ++number) {
        unique = text + " (" + std::to_string(number) + ")";
    }
    return unique;
}

/// The last array of the XML comes first in the appended data. meshio renumbers offsets while it
/// searches arrays by offset and takes the first match, so ascending offsets could mislead it.
std::vector<std::uint64_t> VtuFile::offsets() const {
    std::vector<std::uint64_t> offsets(arrays_.size());
    std::uint64_t offset = 0;
    for (std::size_t index = arrays_.size(); index-- > 0;) {
        offsets[index] = offset;
        offset += arrays_[index].stored.size();
    }
    return offsets;
}

std::string VtuFile::sectionText(Section section, const char* tag,
                                 const std::vector<std::uint64_t>& offsets) const {
    std::string text = "<" + std::string(tag) + ">\n";
    for (std::size_t index = 0; index < arrays_.size(); ++index) {
        const Array& array = arrays_[index];
        if (array.section != section) {
            continue;
        }
        text += "<DataArray type=\"" + std::string(array.type) + "\" Name=\"" + array.name + "\"";
        if (array.components != 1) {
            text += " NumberOfComponents=\"" + std::to_string(array.components) + "\"";
        }
        if (section == Section::Field) {
            text += " NumberOfTuples=\"" + std::to_string(array.rows) + "\"";
        }
        text += " format=\"appended\" offset=\"" + std::to_string(offsets[index]) + "\"/>\n";
    }
    return text + "</" + tag + ">\n";
}

void VtuFile::write(const std::filesystem::path& path) const {
    const std::vector<std::uint64_t> arrayOffsets = offsets();
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << "<?xml version=\"1.0\"?>\n"
            "<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\""
         << (isLittleEndian() ? "LittleEndian" : "BigEndian")
         << "\" header_type=\"UInt64\" compressor=\"vtkZLibDataCompressor\">\n"
            "<UnstructuredGrid>\n"
         << sectionText(Section::Field, "FieldData", arrayOffsets) << "<Piece NumberOfPoints=\""
         << std::to_string(points_) << "\" NumberOfCells=\"" << std::to_string(cells_) << "\">\n"
         << sectionText(Section::PointData, "PointData", arrayOffsets)
         << sectionText(Section::CellData, "CellData", arrayOffsets)
         << sectionText(Section::Points, "Points", arrayOffsets)
         << sectionText(Section::Cells, "Cells", arrayOffsets)
         << "</Piece>\n</UnstructuredGrid>\n<AppendedData encoding=\"raw\">\n_";
    for (auto array = arrays_.rbegin(); array != arrays_.rend(); ++array) {
        file << array->stored;
    }
    file << "\n</AppendedData>\n</VTKFile>\n";
    file.close();
    if (!file) {
        throw MekReader::Error("unable to write \"" + path.u8string() + "\"");
    }
}

} // namespace MekVtu
