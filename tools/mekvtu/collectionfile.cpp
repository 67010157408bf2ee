#include "mekvtu/collectionfile.hpp"

#include "mekreader/error.hpp"
#include "mekvtu/xmlescape.hpp"

#include <fstream>

namespace MekVtu {

void writeCollection(const std::filesystem::path& path,
                     const std::vector<CollectionEntry>& entries) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"1.0\">\n"
            "<Collection>\n";
    for (const CollectionEntry& entry : entries) {
        file << "<DataSet timestep=\"" << formatNumber(entry.time) << "\" step=\""
             << escapeXml(entry.stepName) << "\" group=\"\" part=\"" << std::to_string(entry.part)
             << "\" name=\"" << escapeXml(entry.partName) << "\" file=\""
             << escapeXml(entry.fileName) << "\"/>\n";
    }
    file << "</Collection>\n</VTKFile>\n";
    file.close();
    if (!file) {
        throw MekReader::Error("unable to write \"" + path.u8string() + "\"");
    }
}

} // namespace MekVtu
