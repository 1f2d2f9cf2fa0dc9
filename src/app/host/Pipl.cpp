#include "app/host/Pipl.h"

#include "services/ByteReader.h"
#include "services/MappedFile.h"

namespace velorin::app {

namespace {

template <class T>
std::optional<T> NumberAt(Bytes bytes, std::uint64_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

std::optional<Bytes> Part(Bytes bytes, std::uint64_t offset, std::uint64_t size) {
    if (offset > bytes.size() || size > bytes.size() - offset) return std::nullopt;
    return bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
}

// Zero-terminated, or to the end.
std::string TextAt(Bytes bytes, std::uint64_t offset) {
    std::string text;
    for (; offset < bytes.size() && bytes[static_cast<std::size_t>(offset)] != std::byte{0}; ++offset)
        text += static_cast<char>(bytes[static_cast<std::size_t>(offset)]);
    return text;
}

// Section headers of ELF64: name at 0, offset at 24, size at 32; 64 bytes each. The file header has their
// offset at 40, their size, count and the index of the name table at 58, 60, 62. (System V ABI, AMD64
// supplement.)
std::optional<Bytes> FindSection(Bytes file, const std::string& name) {
    const auto magic = NumberAt<std::uint32_t>(file, 0);
    const auto table = NumberAt<std::uint64_t>(file, 40);
    const auto entry = NumberAt<std::uint16_t>(file, 58), count = NumberAt<std::uint16_t>(file, 60),
               names = NumberAt<std::uint16_t>(file, 62);
    if (!magic || *magic != 0x464C457F || !table || !entry || !count || !names || *entry < 64)
        return std::nullopt;
    const auto header = [&](unsigned index) {
        return Part(file, *table + std::uint64_t{index} * *entry, 64);
    };
    const auto contents = [&](Bytes h) {
        return Part(file, *NumberAt<std::uint64_t>(h, 24), *NumberAt<std::uint64_t>(h, 32));
    };
    const auto namesHeader = header(*names);
    const auto nameTable = namesHeader ? contents(*namesHeader) : std::nullopt;
    if (!nameTable) return std::nullopt;
    for (unsigned i = 0; i < *count; ++i)
        if (const auto h = header(i); h && TextAt(*nameTable, *NumberAt<std::uint32_t>(*h, 0)) == name)
            return contents(*h);
    return std::nullopt;
}

// A length byte and the text.
std::string CountedText(Bytes data) {
    if (data.empty()) return {};
    const auto length = std::to_integer<std::size_t>(data[0]);
    return length < data.size() ? TextAt(data.subspan(1, length), 0) : std::string();
}

// Four characters as they stand in the file, their order reversed.
constexpr std::uint32_t Key(const char (&code)[5]) {
    return static_cast<std::uint32_t>(code[3]) | static_cast<std::uint32_t>(code[2]) << 8 |
           static_cast<std::uint32_t>(code[1]) << 16 | static_cast<std::uint32_t>(code[0]) << 24;
}

} // namespace

std::optional<PiplFacts> ReadPipl(const std::string& modulePath) {
    const MappedFile file = MappedFile::Open(modulePath, FileAccess::Read);
    const auto section = file.valid() ? FindSection(file.bytes(), ".pipl") : std::nullopt;
    if (!section) return std::nullopt;
    const auto count = NumberAt<std::uint32_t>(*section, 6);
    if (!count) return std::nullopt;
    PiplFacts facts;
    std::uint64_t at = 10;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto key = NumberAt<std::uint32_t>(*section, at + 4),
                   length = NumberAt<std::uint32_t>(*section, at + 12);
        if (!key || !length) return std::nullopt;
        const auto data = Part(*section, at + 16, *length);
        if (!data) return std::nullopt;
        const std::uint32_t number = NumberAt<std::uint32_t>(*data, 0).value_or(0);
        if (*key == Key("name"))
            facts.name = CountedText(*data);
        else if (*key == Key("catg"))
            facts.category = CountedText(*data);
        else if (*key == Key("eMNA"))
            facts.matchName = CountedText(*data);
        else if (*key == Key("8664"))
            facts.entryPoint = TextAt(*data, 0);
        else if (*key == Key("eVER"))
            facts.version = number;
        else if (*key == Key("eGLO"))
            facts.outFlags = static_cast<A_long>(number);
        else if (*key == Key("eGL2"))
            facts.outFlags2 = static_cast<A_long>(number);
        at += 16 + *length;
    }
    return facts;
}

} // namespace velorin::app
