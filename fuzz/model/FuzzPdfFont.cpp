// Font programs and character maps: the first byte says which key the program stands under and whether the
// font is composite, two more how much of the rest is the character map; all codes are shown.

#include "model/vector/VectorFile.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    if (size < 3) return 0;
    const std::string all(reinterpret_cast<const char*>(data) + 3, size - 3);
    const std::size_t split = std::min<std::size_t>(data[1] * 256u + data[2], all.size());
    const std::string map = all.substr(0, split), program = all.substr(split);
    const bool composite = (data[0] & 4) != 0;
    const char* const keys[] = {"FontFile", "FontFile2", "FontFile3", "None"};
    const auto stream = [](const std::string& bytes) {
        return "<< /Length " + std::to_string(bytes.size()) + " >> stream\n" + bytes + "\nendstream endobj\n";
    };
    std::string codes;
    for (int code = 0; code < 256; ++code) codes += "000102030405060708090a0b0c0d0e0f"[code % 32];
    const std::string descriptor =
        "/FontDescriptor << /Flags " + std::to_string(data[0] >> 3) + " /" + keys[data[0] & 3] + " 6 0 R >>";
    const std::string file =
        "%PDF-1.7\n1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj\n"
        "2 0 obj << /Kids [3 0 R] /Resources << /Font << /F 5 0 R >> >> >> endobj\n"
        "3 0 obj << /Type /Page /Contents 4 0 R >> endobj\n4 0 obj " +
        stream("BT /F 9 Tf <" + codes + "> Tj (The quick brown fox) Tj ET") +
        (composite ? "5 0 obj << /Subtype /Type0 /BaseFont /A /Encoding 7 0 R /ToUnicode 7 0 R "
                     "/DescendantFonts [<< " +
                         descriptor + " >>] >> endobj\n"
                   : "5 0 obj << /Subtype /Type1 /BaseFont /A " + descriptor + " >> endobj\n") +
        "6 0 obj " + stream(program) + "7 0 obj " + stream(map);
    PathSet set;
    std::string reason;
    static_cast<void>(LoadVectorBytes(set, AsBytes(file), reason));
    return 0;
}
