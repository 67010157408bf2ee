#include "mekvtu/collectionfile.hpp"

#include "mekvtu/outputfile.hpp"
#include "mekvtu/xmlescape.hpp"

namespace MekVtu {

void writeCollection(const std::filesystem::path& path,
                     const std::vector<CollectionEntry>& entries) {
    OutputFile file(path);
    file.write(
        "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"1.0\">\n"
        "<Collection>\n");
    for (const CollectionEntry& entry : entries) {
        file.write("<DataSet timestep=\"" + formatNumber(entry.time) + "\" step=\"" +
                   escapeXml(entry.stepName) + "\" group=\"\" part=\"" +
                   std::to_string(entry.part) + "\" name=\"" + escapeXml(entry.partName) +
                   "\" file=\"" + escapeXml(entry.fileName) + "\"/>\n");
    }
    file.write("</Collection>\n</VTKFile>\n");
    file.finish();
}

} // namespace MekVtu
