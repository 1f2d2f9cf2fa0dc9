#pragma once

#include "render/gl/Handles.h"

#include <span>
#include <string>
#include <string_view>

// Compiling and linking. A failed program is an empty handle: what would draw with it draws nothing. All logs
// go to the log; info logs are cut at 2048 characters.

namespace velorin::gl {

enum class Stage { Vertex, Geometry, Fragment };

// What a failed compile or link does besides logging.
enum class OnFault { Log, Show }; // Show: also a message box titled "Shader Log" or "Program Log"

// One stage from complete text in several parts, joined in order ("#version" is in the first). Empty on
// failure.
[[nodiscard]] Shader CompileStage(Stage stage, std::span<const std::string_view> parts, OnFault fault);

// Names bound before linking.
struct ProgramInterface {
    std::span<const char* const> attributes;       // location i is attributes[i]
    std::span<const char* const> fragmentOutputs;  // colour number i is fragmentOutputs[i]
    std::span<const char* const> feedbackVaryings; // captured into separate buffers; empty: none
};

// "inVertex", "inTexCoord", "inNormal", "inTangent" at 0 to 3: programs made of one text.
[[nodiscard]] const ProgramInterface& QuadInterface();
// "inPosition", "inTexCoord", "inNormal", "inTangent" at 0 to 3: programs of separate stages, materials among
// them.
[[nodiscard]] const ProgramInterface& MeshInterface();

// Links stages that stay the caller's. Empty on failure.
[[nodiscard]] Program LinkProgram(std::span<const Shader* const> stages, const ProgramInterface& names,
                                  OnFault fault);

// One text for both stages: "#version 150 core" comes before it, and "#define VERT_SHADER" in the vertex
// stage. An empty text gives an empty program without a GL call.
[[nodiscard]] Program CreateShaderProgram(std::string_view source);

// Two complete texts, "#version" included.
[[nodiscard]] Program CreateTwoStageProgram(std::string_view vertex, std::string_view fragment);

// The vertex stage alone, made of the text as in CreateShaderProgram, with attribute 4 "inSurfaceNormal";
// captures "outVertex", "outTexCoords", "outNormal", "outTangent" into separate buffers.
[[nodiscard]] Program CreateTransformFeedbackProgram(std::string_view source);

// Binds a sampler's name to its unit for good; a name that the program does not use is skipped. Binds and
// unbinds the program.
struct SamplerUnit {
    const char* name;
    int unit;
};
void SetSamplerUnits(const Program& program, std::span<const SamplerUnit> samplers);

} // namespace velorin::gl
