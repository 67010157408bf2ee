#include "mekvtu/vtufile.hpp"

#include "mekvtu/base64.hpp"
#include "mekvtu/xmlescape.hpp"

#include <zlib.h>

#include <algorithm>
#include <new>
#include <utility>

namespace MekVtu {

namespace {

/// Larger than VTK's default of 32 KiB, because that compresses better.
constexpr std::uint32_t vtkBlockSize = std::uint32_t{1} << 20;

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

/// An array as VTK stores it. The header has the number of VTK's blocks, the length of a block, the
/// length of the last block if it is shorter, and the compressed length of each block.
struct StoredForm {
    std::string header;
    std::string blocks;
};

StoredForm storedForm(std::string_view bytes) {
    std::vector<std::uint32_t> header = {0, vtkBlockSize,
                                         static_cast<std::uint32_t>(bytes.size() % vtkBlockSize)};
    std::string blocks;
    for (std::size_t done = 0; done < bytes.size(); done += vtkBlockSize) {
        const std::string block = compressed(bytes.substr(done, vtkBlockSize));
        header.push_back(static_cast<std::uint32_t>(block.size()));
        blocks += block;
        ++header[0];
    }
    return {std::string(bytesOf(header)), std::move(blocks)};
}

void writeBase64(OutputFile& file, std::string_view bytes) {
    constexpr std::size_t chunkSize = std::size_t{3} << 16;
    for (std::size_t done = 0; done < bytes.size(); done += chunkSize) {
        file.write(base64(bytes.substr(done, chunkSize)));
    }
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
    StoredForm stored = storedForm(bytes);
    arrays_.insert(position, {section, uniqueName(section, name), type, components, rows,
                              std::move(stored.header), std::move(stored.blocks)});
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
        offset += arrays_[index].header.size() + arrays_[index].blocks.size();
    }
    return offsets;
}

void VtuFile::writeSection(OutputFile& file, Section section, const char* tag,
                           Encoding encoding) const {
    const std::vector<std::uint64_t> arrayOffsets = offsets();
    file.write("<" + std::string(tag) + ">\n");
    for (std::size_t index = 0; index < arrays_.size(); ++index) {
        const Array& array = arrays_[index];
        if (array.section != section) {
            continue;
        }
        std::string start =
            "<DataArray type=\"" + std::string(array.type) + "\" Name=\"" + array.name + "\"";
        if (array.components != 1) {
            start += " NumberOfComponents=\"" + std::to_string(array.components) + "\"";
        }
        if (section == Section::Field) {
            start += " NumberOfTuples=\"" + std::to_string(array.rows) + "\"";
        }
        if (encoding == Encoding::Raw) {
            file.write(start + " format=\"appended\" offset=\"" +
                       std::to_string(arrayOffsets[index]) + "\"/>\n");
            continue;
        }
        file.write(start + " format=\"binary\">\n");
        writeBase64(file, array.header);
        writeBase64(file, array.blocks);
        file.write("\n</DataArray>\n");
    }
    file.write("</" + std::string(tag) + ">\n");
}

void VtuFile::write(OutputFile& file, Encoding encoding) const {
    file.write(std::string("<?xml version=\"1.0\"?>\n"
                           "<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\"") +
               (isLittleEndian() ? "LittleEndian" : "BigEndian") +
               "\" header_type=\"UInt32\" compressor=\"vtkZLibDataCompressor\">\n"
               "<UnstructuredGrid>\n");
    writeSection(file, Section::Field, "FieldData", encoding);
    file.write("<Piece NumberOfPoints=\"" + std::to_string(points_) + "\" NumberOfCells=\"" +
               std::to_string(cells_) + "\">\n");
    writeSection(file, Section::PointData, "PointData", encoding);
    writeSection(file, Section::CellData, "CellData", encoding);
    writeSection(file, Section::Points, "Points", encoding);
    writeSection(file, Section::Cells, "Cells", encoding);
    file.write("</Piece>\n</UnstructuredGrid>\n");
    if (encoding == Encoding::Raw) {
        file.write("<AppendedData encoding=\"raw\">\n_");
        for (auto array = arrays_.rbegin(); array != arrays_.rend(); ++array) {
            file.write(array->header);
            file.write(array->blocks);
        }
        file.write("\n</AppendedData>\n");
    }
    file.write("</VTKFile>\n");
}

} // namespace MekVtu
