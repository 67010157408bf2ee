#include "mekvtu/collectionfile.hpp"

#include "mekvtu/xmlescape.hpp"

namespace MekVtu {

void writeCollection(OutputFile& file, const std::vector<CollectionEntry>& entries) {
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
}

} // namespace MekVtu
