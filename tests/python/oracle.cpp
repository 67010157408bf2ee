/// @file
/// Answers what the C++ reader finds in a file, for comparison with the reader in Python.
///
/// Each line of standard input is a command; each answer ends with an empty line.
///
///     everything RESULTS PATH    writes the model of all operations with RESULTS results
///     read PATH                  prints "valid", "unfinished" or "damaged", and what a valid file
///     has
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "support/everything.hpp"

#include <zlib.h>

#include <cstring>
#include <iostream>
#include <string>
#include <type_traits>
#include <variant>

namespace {

using MekReader::Variable;

/// The bytes in hexadecimal: unlike numbers they have one representation.
template <class Bytes>
std::string hexOf(const Bytes& bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += {digits[value >> 4], digits[value & 0xF]};
    }
    return text + ' ';
}

template <class T>
std::string hexOfNumber(const T& number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return hexOf(bytes);
}

void print(const MekReader::AttributeList& attributes) {
    for (const auto& [key, value] : attributes) {
        std::cout << "attribute " << hexOf(key) << "ufsd"[value.index()] << ' ';
        const auto print = [](const auto& each) {
            if constexpr (std::is_same_v<decltype(each), const std::string&>) {
                std::cout << hexOf(each);
            } else {
                std::cout << hexOfNumber(each);
            }
        };
        std::visit(print, value);
        std::cout << '\n';
    }
}

void print(MekReader::File& file, const Variable& variable) {
    std::cout << "variable " << hexOf(variable.name) << variable.type << ' ' << variable.linked
              << ' ' << variable.vibration << ' ';
    if (file.hasCircularLinks(variable)) {
        std::cout << "circle\n";
        return;
    }
    const Variable& owner = file.owner(variable);
    const std::vector<std::uint32_t> words = file.words(variable);
    const auto* const bytes = reinterpret_cast<const Bytef*>(words.data());
    std::cout << int{owner.elementType} << ' ' << owner.rows() << ' ' << int{owner.width} << ' '
              << crc32(0, bytes, static_cast<uInt>(words.size() * sizeof(std::uint32_t))) << '\n';
    print(owner.attributes);
}

void print(MekReader::File& file, const MekReader::Node& node) {
    std::cout << "node " << node.id << ' ' << node.parent << ' ' << hexOf(node.name) << node.type
              << '\n';
    if (node.group) {
        const MekReader::Group& group = *node.group;
        std::cout << "placement " << hexOfNumber(group.translation) << hexOfNumber(group.rotation)
                  << hexOfNumber(group.scale) << '\n';
        print(group.attributes);
    }
    if (node.material) {
        const MekReader::Material& material = *node.material;
        std::cout << "material " << hexOfNumber(material.diffuseColor)
                  << hexOfNumber(material.specularColor) << hexOfNumber(material.emissiveColor)
                  << hexOfNumber(material.ambientColor) << hexOfNumber(material.transparency)
                  << hexOfNumber(material.shininess) << material.materialFlag << '\n';
    }
    for (const Variable& variable : node.variables) {
        print(file, variable);
    }
}

void read(const std::string& path) {
    try {
        MekReader::check(path);
    } catch (const MekReader::Unfinished&) {
        std::cout << "unfinished\n";
        return;
    } catch (const MekReader::Error&) {
        std::cout << "damaged\n";
        return;
    }
    std::cout << "valid\n";
    MekReader::File file(path);
    for (const MekReader::Node& node : file.nodes()) {
        print(file, node);
    }
}

void writeEverything(unsigned int results, const std::string& path) {
    Tyr::Mek2::Model model;
    model.saveTo(path, Tyr::Mek2::SaverOptions{true, "a tool", "a version"});
    Testing::Everything(results).addTo(model);
    model.close();
}

} // namespace

int main() {
    std::string command;
    while (std::cin >> command) {
        unsigned int results = 0;
        if (command == "everything") {
            std::cin >> results;
        }
        std::string path;
        std::getline(std::cin >> std::ws, path);
        command == "read" ? read(path) : writeEverything(results, path);
        std::cout << std::endl;
    }
    return 0;
}
