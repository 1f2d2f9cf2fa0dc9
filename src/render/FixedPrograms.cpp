#include "render/FixedPrograms.h"

#include "render/RenderStatistics.h"
#include "render/ShaderTexts.h"
#include "render/gl/Shaders.h"
#include "services/Log.h"

#include <GL/glew.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace velorin {

namespace {

constexpr int kFixedTaps = 192;

enum class Form { OneText, Dof, DofFixedTaps, TwoStages };

struct ProgramRow {
    PassProgram program;
    const char* name;
    Form form;
    std::string_view text;
    std::array<gl::SamplerUnit, 3> samplers; // rows without a name end the list
};

constexpr gl::SamplerUnit kNone{nullptr, 0};

// The sampler units are part of the interface: passes bind their textures by number.
constexpr std::array kTable{
    ProgramRow{PassProgram::CopyColorProperty,
               "copyColorPropertyProgram",
               Form::OneText,
               shaders::post_copy_color_property_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::Resolve,
               "resolveProgram",
               Form::OneText,
               shaders::post_resolve_glsl,
               {{{"sampleTexture[0]", 0}, {"sampleTexture[1]", 1}, kNone}}},
    ProgramRow{PassProgram::DofPreview,
               "dofPreviewProgram",
               Form::Dof,
               shaders::post_dof_preview_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::DofPreviewUnrolled,
               "dofPreviewUnrolledProgram",
               Form::DofFixedTaps,
               shaders::post_dof_preview_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::DofContinuous,
               "dofContinuousProgram",
               Form::Dof,
               shaders::post_dof_continuous_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::DofContinuousUnrolled,
               "dofContinuousUnrolledProgram",
               Form::DofFixedTaps,
               shaders::post_dof_continuous_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::DofFocus,
               "dofFocusProgram",
               Form::Dof,
               shaders::post_dof_focus_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::DofPixel,
               "dofPixelProgram",
               Form::Dof,
               shaders::post_dof_pixel_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::PropertyView,
               "propertyViewProgram",
               Form::OneText,
               shaders::post_property_view_glsl,
               {{{"propertyTexture", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::Fxaa,
               "fxaaProgram",
               Form::OneText,
               shaders::post_fxaa_glsl,
               {{{"mainTex", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::Average,
               "averageProgram",
               Form::OneText,
               shaders::post_average_glsl,
               {{{"colorTexture", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::GaussianBlur,
               "gaussianBlurProgram",
               Form::OneText,
               shaders::post_gaussian_blur_glsl,
               {{{"colorTexture", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::FinalOutput,
               "finalOutputProgram",
               Form::OneText,
               {},
               {{{"blendTexture", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::Unpack,
               "unpackProgram",
               Form::OneText,
               shaders::post_unpack_glsl,
               {{{"data", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::GlowExtract,
               "glowExtractProgram",
               Form::OneText,
               shaders::post_glow_extract_glsl,
               {{{"colorTexture", 0}, {"propertyTexture_Glow", 1}, kNone}}},
    ProgramRow{PassProgram::GlowBlend,
               "glowBlendProgram",
               Form::OneText,
               shaders::post_glow_blend_glsl,
               {{{"colorTexture", 0}, {"glowTexture", 1}, {"glowHighlightTexture", 2}}}},
    ProgramRow{PassProgram::HighlightCompression,
               "highlightCompressionProgram",
               Form::TwoStages,
               shaders::post_highlight_compression_frag_glsl,
               {{{"imgSampler", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::ColorCopy,
               "colorCopyProgram",
               Form::OneText,
               shaders::post_color_copy_glsl,
               {{{"colorTexture", 0}, kNone, kNone}}},
    ProgramRow{PassProgram::WorldPosition,
               "worldPositionProgram",
               Form::OneText,
               shaders::post_world_position_glsl,
               {{{"colorTexture", 0}, {"propertyTexture", 1}, kNone}}},
    ProgramRow{PassProgram::Equirectangular,
               "equirectangularProgram",
               Form::OneText,
               shaders::post_equirectangular_glsl,
               {{{"sceneSampler", 0}, kNone, kNone}}}};
static_assert(kTable.size() == static_cast<std::size_t>(PassProgram::Count));

// Well spread points of the unit square: the additive recurrence of M. Roberts, "The Unreasonable
// Effectiveness of Quasirandom Sequences", 2018.
std::string FixedTapsText() {
    constexpr double kPlastic = 1.32471795724474602596;
    std::string text = "#define FIXED_TAPS " + std::to_string(kFixedTaps) + "\nconst vec2 fixedTaps[" +
                       std::to_string(kFixedTaps) + "] = vec2[](";
    for (int i = 0; i < kFixedTaps; ++i) {
        const double u = std::fmod(0.5 + (i + 1) / kPlastic, 1.0);
        const double v = std::fmod(0.5 + (i + 1) / (kPlastic * kPlastic), 1.0);
        std::array<char, 64> point{};
        std::snprintf(point.data(), point.size(), "%svec2(%.6f, %.6f)", i ? ", " : "", u, v);
        text += point.data();
    }
    return text + ");\n";
}

gl::Program Build(const ProgramRow& row) {
    if (row.form == Form::TwoStages) return gl::CreateTwoStageProgram(shaders::post_quad_vert_glsl, row.text);
    // The final output has a vertex stage of its own.
    if (row.program == PassProgram::FinalOutput)
        return gl::CreateShaderProgram(shaders::post_final_output_glsl);
    std::string text(shaders::post_quad_glsl);
    if (row.form != Form::OneText) text += shaders::post_dof_common_glsl;
    if (row.form == Form::DofFixedTaps) text += FixedTapsText();
    text += row.text;
    return gl::CreateShaderProgram(text);
}

} // namespace

BoundPass::BoundPass(gl::Name program) : program_(program) {
    glUseProgram(program);
}

int BoundPass::Location(const char* name) const {
    return program_ ? glGetUniformLocation(program_, name) : -1;
}
void BoundPass::Set(const char* name, int value) const {
    glUniform1i(Location(name), value);
}
void BoundPass::Set(const char* name, float value) const {
    glUniform1f(Location(name), value);
}
void BoundPass::Set(const char* name, Point2 v) const {
    glUniform2f(Location(name), v.x, v.y);
}
void BoundPass::Set(const char* name, Point3 v) const {
    glUniform3f(Location(name), v.x, v.y, v.z);
}
void BoundPass::Set(const char* name, Point4 v) const {
    glUniform4f(Location(name), v.x, v.y, v.z, v.w);
}
void BoundPass::Set(const char* name, const Matrix& value) const {
    glUniformMatrix4fv(Location(name), 1, GL_FALSE, value.data());
}

FixedPrograms::FixedPrograms(RenderStatistics& statistics) {
    for (const ProgramRow& row : kTable) {
        gl::Program& program = programs_[static_cast<std::size_t>(row.program)];
        program = Build(row);
        if (!program) {
            LogError("The fixed program %s was not made; its pass draws nothing.", row.name);
            continue;
        }
        ++statistics.programsCompiled;
        std::vector<gl::SamplerUnit> samplers;
        for (const gl::SamplerUnit& sampler : row.samplers)
            if (sampler.name) samplers.push_back(sampler);
        gl::SetSamplerUnits(program, samplers);
    }
}

BoundPass FixedPrograms::Use(PassProgram program) const {
    return BoundPass(programs_[static_cast<std::size_t>(program)].name());
}

bool FixedPrograms::Has(PassProgram program) const {
    return static_cast<bool>(programs_[static_cast<std::size_t>(program)]);
}

const char* FixedPrograms::NameOf(PassProgram program) {
    for (const ProgramRow& row : kTable)
        if (row.program == program) return row.name;
    return "";
}

} // namespace velorin
