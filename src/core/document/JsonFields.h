#pragma once

#include "core/document/FieldTable.h"
#include "core/document/SceneJson.h"
#include "core/document/SceneModel.h"
#include "core/document/TextureChannel.h"

#include <string>

// What reading and writing a scene as JSON share.
namespace velorin {

// Keys of the channels in a material, by channel number.
struct ChannelKey {
    Channel channel;
    const char* name;
};
inline constexpr ChannelKey kChannelKeys[] = {
    {Channel::Diffuse, "diffuse"},       {Channel::Specular, "specular"},
    {Channel::Occlusion, "occlusion"},   {Channel::Illumination, "illumination"},
    {Channel::Normal, "normal"},         {Channel::Environment, "environment"},
    {Channel::Reflection, "reflection"}, {Channel::Displacement, "displacement"},
};

// What a model of this type is called in `path` when nothing else is said; empty for the types with a file.
[[nodiscard]] inline std::string DefaultModelPath(ModelType type, PrimitiveKind primitive) {
    if (IsExtrusion(type)) return "Extrusion Model.extrusion";
    if (type == ModelType::Primitive) return std::string(PrimitiveLabel(primitive)) + " Model.parametric";
    return {};
}

} // namespace velorin
