// Content streams within a sound document that has a font of the system, one whose glyphs are content, one
// without its program, and a form; the input is the page's content.

#include "model/vector/VectorFile.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    const std::string content(reinterpret_cast<const char*>(data), size);
    const auto stream = [](const std::string& bytes, const std::string& entries) {
        return "<< /Length " + std::to_string(bytes.size()) + entries + " >> stream\n" + bytes +
               "\nendstream endobj\n";
    };
    // Without a table: the reader searches for the objects.
    const std::string file =
        "%PDF-1.7\n1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj\n"
        "2 0 obj << /Kids [3 0 R] /Resources << /XObject << /X 5 0 R >> /Font << /F 6 0 R /G 7 0 R /H 8 0 R "
        ">> >> >> endobj\n"
        "3 0 obj << /Type /Page /Contents 4 0 R >> endobj\n4 0 obj " +
        stream(content, "") + "5 0 obj " + stream("0 0 1 1 re f", " /Subtype /Form /Matrix [2 0 0 2 1 1]") +
        "6 0 obj << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> endobj\n"
        "7 0 obj << /Type /Font /Subtype /Type3 /FontMatrix [1 0 0 1 0 0] /CharProcs << /a 5 0 R >> "
        "/Encoding << /Differences [97 /a] >> /FirstChar 97 /Widths [600] >> endobj\n"
        "8 0 obj << /Type /Font /Subtype /Type0 /BaseFont /Courier /Encoding /UniGB-UTF16-H "
        "/DescendantFonts [9 0 R] >> endobj\n9 0 obj << /W [1 5 500] >> endobj\n";
    PathSet set;
    std::string reason;
    const bool read = LoadVectorBytes(set, AsBytes(file), reason);
    if (read != reason.empty()) std::abort();
    return 0;
}
