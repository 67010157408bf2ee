#include "console/inputfile.hpp"

#include "console/error.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace Console {

namespace {

using namespace std::string_view_literals;

struct Signature {
    std::string_view bytes;
    std::string_view description;
    std::optional<FileFormat> format{};
    std::size_t position = 0;
};

constexpr std::string_view modelSignature("\x89QBF\r\n\x1A\n");
constexpr std::size_t tarMagicPosition = 257;

constexpr std::array<Signature, 16> signatures{{
    {"\x1F\x8B"sv, "this is a gzip file; decompress it first"},
    {"\x1F\x9D"sv, "this is a compress (.Z) file; decompress it first"},
    {"BZh"sv, "this is a bzip2 file; decompress it first"},
    {"\xFD"
     "7zXZ\0"sv,
     "this is an xz file; decompress it first"},
    {"\x28\xB5\x2F\xFD"sv, "this is a zstd file; decompress it first"},
    {"PK\x03\x04"sv, "this is a zip archive; extract the file first"},
    {"PK\x05\x06"sv, "this is an empty zip archive"},
    {"7z\xBC\xAF\x27\x1C"sv, "this is a 7z archive; extract the file first"},
    {"\x89HDF\r\n\x1A\n"sv, "this is an HDF5 file"},
    {"CDF\x01"sv, "this is a netCDF file"},
    {"ustar"sv, "this is a tar archive; extract the file first", {}, tarMagicPosition},
    {"\x7F"
     "ELF"sv,
     "this is a program or library (ELF)"},
    {"# vtk DataFile"sv, "this is a legacy VTK file"},
    {"$MeshFormat"sv, "this is a Gmsh mesh"},
    {modelSignature, "this is a model file; mekinfo shows it", FileFormat::Model},
    {"    1C"sv, "this is a result file of the solver; convert it with frd2mek",
     FileFormat::ResultFile},
}};

constexpr std::size_t examinedSize = 4096;

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// The first line of an input deck that is neither blank nor a comment is a keyword: `*NODE`.
bool isInputDeck(std::string_view text) {
    bool hasComment = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const bool isBlank = line.find_first_not_of(" \t\r") == std::string_view::npos;
        if (!isBlank && !startsWith(line, "**")) {
            return startsWith(line, "*") && line.size() > 1 &&
                   std::isalpha(static_cast<unsigned char>(line[1])) != 0;
        }
        hasComment = hasComment || !isBlank;
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return hasComment;
}

bool isVtkXml(std::string_view text) {
    return startsWith(text, "<") && text.find("<VTKFile") != std::string_view::npos;
}

/// Whether the bytes can begin a model file; a cut file may have only a part of the signature.
bool canBeModel(std::string_view bytes) {
    return startsWith(bytes, modelSignature.substr(0, bytes.size()));
}

/// Empty if the bytes may be of the expected format.
std::string_view foreignFormat(std::string_view bytes, FileFormat expected) {
    if (bytes.empty()) {
        return "the file is empty"sv;
    }
    for (const Signature& signature : signatures) {
        if (startsWith(bytes.substr(std::min(signature.position, bytes.size())), signature.bytes)) {
            return signature.format == expected ? ""sv : signature.description;
        }
    }
    if (isVtkXml(bytes)) {
        return "this is a VTK XML file"sv;
    }
    if (isInputDeck(bytes)) {
        return "this is an input deck; solve it and convert the .frd file"sv;
    }
    return expected == FileFormat::Model && !canBeModel(bytes) ? "not a model file"sv : ""sv;
}

std::string firstBytes(const std::filesystem::path& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw FileError(path, errno != 0 ? reasonOf(errno) : "cannot be opened");
    }
    std::string bytes(examinedSize, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

} // namespace

void checkInputFile(const std::filesystem::path& path, FileFormat expected) {
    if (path == "-") {
        throw FileError(path, "needs a regular file, not standard input");
    }
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (error) {
        throw FileError(path, reasonOf(error));
    }
    if (std::filesystem::is_directory(status)) {
        throw FileError(path, reasonOf(EISDIR));
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw FileError(path, "needs a regular file");
    }
    const std::string_view foreign = foreignFormat(firstBytes(path), expected);
    if (!foreign.empty()) {
        throw ForeignFile(path, std::string(foreign));
    }
}

} // namespace Console
