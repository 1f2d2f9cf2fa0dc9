#include "model/vector/VectorFile.h"

#include "model/vector/PdfParser.h"
#include "services/Log.h"
#include "services/Warnings.h"

namespace velorin {

bool LoadVectorBytes(PathSet& pathSet, Bytes bytes, std::string& reason) {
    pathSet = {};
    try {
        PdfParser parser;
        const PdfPage page = parser.ReadBytes(bytes);
        for (auto& contour : page.Paths()) {
            for (PathPoint& p : contour) {
                p.position.y = -p.position.y;
                p.tangentIn.y = -p.tangentIn.y;
                p.tangentOut.y = -p.tangentOut.y;
            }
            pathSet.paths.push_back(std::move(contour));
        }
        return true;
    } catch (const std::exception& error) {
        pathSet.paths.clear();
        reason = error.what();
        return false;
    }
}

bool LoadVectorFile(PathSet& pathSet, const std::string& path) {
    const MappedFile file = MappedFile::Open(path, FileAccess::Read);
    std::string reason = file.reason();
    if (file.valid() && LoadVectorBytes(pathSet, file.bytes(), reason)) return true;
    Log("Failed to load vector file: %s (%s)", path.c_str(), reason.c_str());
    ReportWarning("Vector file \"" + path + "\" cannot be read: " + reason);
    return false;
}

} // namespace velorin
