#include "images/ImageWriter.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>

#include <cstring>
#include <exception>
#include <utility>

namespace velorin {

namespace {

class MemoryOutput final : public Imf::OStream {
public:
    MemoryOutput() : Imf::OStream("picture") {}
    void write(const char in[], int count) override {
        const auto n = static_cast<std::size_t>(count);
        if (at_ + n > bytes.size()) bytes.resize(at_ + n);
        std::memcpy(bytes.data() + at_, in, n);
        at_ += n;
    }
    std::uint64_t tellp() override { return at_; }
    void seekp(std::uint64_t position) override { at_ = static_cast<std::size_t>(position); }
    std::vector<std::byte> bytes;

private:
    std::size_t at_ = 0;
};

template <class Integer>
void Widen(Bytes bytes, float scale, std::vector<float>& floats) {
    const auto* in = reinterpret_cast<const Integer*>(bytes.data());
    for (std::size_t i = 0; i < floats.size(); ++i) floats[i] = static_cast<float>(in[i]) / scale;
}

std::vector<float> PremultipliedFloats(const Pixels& pixels) {
    std::vector<float> floats(std::size_t{4} * pixels.width * pixels.height);
    if (pixels.depth == 8)
        Widen<std::uint8_t>(pixels.bytes, 255.0F, floats);
    else if (pixels.depth == 16)
        Widen<std::uint16_t>(pixels.bytes, 65535.0F, floats);
    else
        std::memcpy(floats.data(), pixels.bytes.data(), floats.size() * sizeof(float));
    for (std::size_t i = 0; i < floats.size(); i += 4)
        for (std::size_t c = 0; c < 3; ++c) floats[i + c] *= floats[i + 3];
    return floats;
}

} // namespace

std::optional<std::vector<std::byte>> EncodeExr(const Pixels& pixels, std::string& reason) {
    std::vector<float> floats = PremultipliedFloats(pixels);
    try {
        Imf::Header header(static_cast<int>(pixels.width), static_cast<int>(pixels.height));
        Imf::FrameBuffer buffer;
        const char* names[] = {"R", "G", "B", "A"};
        for (int c = 0; c < 4; ++c) {
            header.channels().insert(names[c], Imf::Channel(Imf::FLOAT));
            buffer.insert(names[c], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(floats.data() + c), 16,
                                               std::size_t{16} * pixels.width));
        }
        MemoryOutput stream;
        {
            Imf::OutputFile file(stream, header);
            file.setFrameBuffer(buffer);
            file.writePixels(static_cast<int>(pixels.height));
        }
        return std::move(stream.bytes);
    } catch (const std::exception& fault) {
        reason = fault.what();
        return std::nullopt;
    }
}

} // namespace velorin
