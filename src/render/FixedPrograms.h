#pragma once

#include "render/gl/Handles.h"
#include "services/NxMath.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace velorin {

struct RenderStatistics;

// The full-screen programs, in the order in which they are built.
enum class PassProgram : std::uint8_t {
    CopyColorProperty,
    Resolve,
    DofPreview,
    DofPreviewUnrolled,
    DofContinuous,
    DofContinuousUnrolled,
    DofFocus,
    DofPixel,
    PropertyView,
    Fxaa,
    Average,
    GaussianBlur,
    FinalOutput,
    Unpack,
    GlowExtract,
    GlowBlend,
    HighlightCompression,
    ColorCopy,
    WorldPosition,
    Equirectangular,
    Count
};

// One program in use: binds it when made and sets its uniforms by name; a name that the program lacks is
// skipped.
class BoundPass {
public:
    explicit BoundPass(gl::Name program);
    [[nodiscard]] explicit operator bool() const { return program_ != 0; }
    void Set(const char* name, int value) const;
    void Set(const char* name, bool value) const { Set(name, value ? 1 : 0); }
    void Set(const char* name, float value) const;
    void Set(const char* name, Point2 value) const;
    void Set(const char* name, Point3 value) const;
    void Set(const char* name, Point4 value) const;
    void Set(const char* name, const Matrix& value) const;

private:
    [[nodiscard]] int Location(const char* name) const;
    gl::Name program_ = 0;
};

// All fixed programs of the process, with their samplers bound to units for good. One that does not compile
// stays empty, and the pass that wants it draws nothing.
class FixedPrograms {
public:
    explicit FixedPrograms(RenderStatistics& statistics);
    [[nodiscard]] BoundPass Use(PassProgram program) const;
    [[nodiscard]] bool Has(PassProgram program) const;
    [[nodiscard]] static const char* NameOf(PassProgram program);

private:
    static constexpr std::size_t kCount = static_cast<std::size_t>(PassProgram::Count);
    std::array<gl::Program, kCount> programs_;
};

} // namespace velorin
