#include "host/Pipl.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velorin {
namespace {

// The record as the host's own tools lay it out, byte by byte.
TEST(Pipl, HasTheGoldenBytes) {
    const char* golden = "0100 00000000 0c000000"
                         "4d494238 646e696b 00000000 04000000 544b4665"
                         "4d494238 656d616e 00000000 08000000 0756656c 6f72696e"
                         "4d494238 67746163 00000000 10000000 0d517565 6e6d6172 20576f72 6b730000"
                         "4d494238 34363638 00000000 0c000000 506c7567 696e4d61 696e0000"
                         "4d494238 52565065 00000000 04000000 02000000"
                         "4d494238 52565365 00000000 04000000 0d000900"
                         "4d494238 52455665 00000000 04000000 70081100"
                         "4d494238 464e4965 00000000 04000000 00000000"
                         "4d494238 4f4c4765 00000000 04000000 16800006"
                         "4d494238 324c4765 00000000 04000000 0f140000"
                         "4d494238 414e4d65 00000000 18000000"
                         "14515545 4e4d4152 574f524b 53203344 41727261 79000000"
                         "4d494238 4c466561 00000000 04000000 00000000";
    std::string digits;
    for (const char* c = golden; *c; ++c)
        if (*c != ' ') digits += *c;
    // "8664" is a code too, so it stands reversed.
    const PiplBytes bytes = MakePipl();
    ASSERT_EQ(digits.size(), 2 * bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        EXPECT_EQ(bytes[i], std::stoi(digits.substr(2 * i, 2), nullptr, 16)) << "byte " << i;
}

TEST(Pipl, ResourceScriptCarriesTheSameBytes) {
    const std::string script = PiplResourceScript();
    EXPECT_EQ(script.rfind("16000 PIPL DISCARDABLE\nBEGIN\n", 0), 0u);
    std::istringstream words(script.substr(script.find("BEGIN") + 5));
    std::vector<std::uint8_t> bytes;
    for (std::string word; words >> word && word != "END";) {
        const int value = std::stoi(word, nullptr, 16);
        bytes.push_back(static_cast<std::uint8_t>(value & 255));
        bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    const PiplBytes expected = MakePipl();
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(expected.begin(), expected.end()));
}

} // namespace
} // namespace velorin
