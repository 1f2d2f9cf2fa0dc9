#include "host/HostLights.h"

#include <optional>

namespace velorin {
namespace {

// Suites and place of one walk over the comp's layers.
struct Walk {
    const AEGP_LayerSuite8* layers;
    const AEGP_LightSuite2* lights;
    const AEGP_StreamSuite4* streams;
    bool rayTracedShadows;
    A_Time compTime;

    [[nodiscard]] AEGP_StreamVal2 Stream(AEGP_LayerH layer, AEGP_LayerStream which) const {
        AEGP_StreamVal2 value{};
        if (streams->AEGP_GetLayerStreamValue(layer, which, AEGP_LTimeMode_CompTime, &compTime, 0, &value,
                                              nullptr) != A_Err_NONE)
            value = {};
        return value;
    }

    [[nodiscard]] bool IsActiveLight(AEGP_LayerH layer) const {
        AEGP_ObjectType type = AEGP_ObjectType_NONE;
        A_Boolean active = 0;
        return layers->AEGP_GetLayerObjectType(layer, &type) == A_Err_NONE && type == AEGP_ObjectType_LIGHT &&
               layers->AEGP_IsVideoActive(layer, AEGP_LTimeMode_CompTime, &compTime, &active) == A_Err_NONE &&
               active != 0;
    }

    [[nodiscard]] HostLight Read(AEGP_LayerH layer) const {
        HostLight light;
        if (lights->AEGP_GetLightType(layer, &light.type) != A_Err_NONE) light.type = AEGP_LightType_NONE;
        (void)layers->AEGP_GetLayerToWorldXform(layer, &compTime, &light.toWorld);
        light.colour = Stream(layer, AEGP_LayerStream_COLOR).color;
        light.intensity = Stream(layer, AEGP_LayerStream_INTENSITY).one_d;
        if (light.type == AEGP_LightType_SPOT) {
            light.coneAngle = Stream(layer, AEGP_LayerStream_CONE_ANGLE).one_d;
            light.coneFeather = Stream(layer, AEGP_LayerStream_CONE_FEATHER).one_d;
        }
        // No map holds what lies around a point.
        const bool casts =
            light.type == AEGP_LightType_POINT ? rayTracedShadows : light.type != AEGP_LightType_AMBIENT;
        if (casts) {
            light.castsShadows = Stream(layer, AEGP_LayerStream_CASTS_SHADOWS).one_d != 0;
            light.shadowDarkness = Stream(layer, AEGP_LayerStream_SHADOW_DARKNESS).one_d;
            light.shadowDiffusion = Stream(layer, AEGP_LayerStream_SHADOW_DIFFUSION).one_d;
        }
        return light;
    }
};

std::optional<LightType> TypeOf(AEGP_LightType type) {
    switch (type) {
    case AEGP_LightType_PARALLEL:
        return LightType::Parallel;
    case AEGP_LightType_SPOT:
        return LightType::Spot;
    case AEGP_LightType_POINT:
        return LightType::Point;
    case AEGP_LightType_AMBIENT:
        return LightType::Ambient;
    default:
        return std::nullopt;
    }
}

Point3 Row(const A_Matrix4& matrix, int row, double aspect) {
    return {static_cast<float>(matrix.mat[row][0] * aspect), static_cast<float>(matrix.mat[row][1]),
            static_cast<float>(matrix.mat[row][2])};
}

} // namespace

bool MakeSceneLight(const HostLight& host, double compAspect, SceneLight& light) {
    const std::optional<LightType> type = TypeOf(host.type);
    if (!type) return false;
    light.type = *type;
    light.position = Row(host.toWorld, 3, compAspect);
    light.direction = Normalized(Row(host.toWorld, 2, compAspect)); // lights shine along their z axis
    if (LengthSquared(light.direction) == 0) light.direction = {0, 0, 1};
    light.colour = {static_cast<float>(host.colour.redF), static_cast<float>(host.colour.greenF),
                    static_cast<float>(host.colour.blueF)};
    light.intensity = static_cast<float>(host.intensity * 0.01);
    light.coneAngle = static_cast<float>(host.coneAngle) * kRadiansPerDegree;
    light.feather = static_cast<float>(host.coneFeather * 0.01);
    light.castShadows = host.castsShadows;
    light.darkness = static_cast<float>(host.shadowDarkness * 0.01);
    light.diffusion = static_cast<float>(host.shadowDiffusion);
    return true;
}

std::vector<SceneLight> ReadCompLights(PluginCall& call, A_long layerTime, double compAspect,
                                       bool rayTracedShadows) {
    std::vector<SceneLight> found;
    const auto* effects = call.suites.Get<AEGP_PFInterfaceSuite1>();
    Walk walk{call.suites.Get<AEGP_LayerSuite8>(),
              call.suites.Get<AEGP_LightSuite2>(),
              call.suites.Get<AEGP_StreamSuite4>(),
              rayTracedShadows,
              {}};
    if (!effects || !walk.layers || !walk.lights || !walk.streams) return found;
    const PF_ProgPtr effect = call.in_data->effect_ref;
    AEGP_LayerH own = nullptr;
    AEGP_CompH comp = nullptr;
    A_long count = 0;
    if (effects->AEGP_ConvertEffectToCompTime(effect, layerTime, call.in_data->time_scale, &walk.compTime) !=
            A_Err_NONE ||
        effects->AEGP_GetEffectLayer(effect, &own) != A_Err_NONE || !own ||
        walk.layers->AEGP_GetLayerParentComp(own, &comp) != A_Err_NONE || !comp ||
        walk.layers->AEGP_GetCompNumLayers(comp, &count) != A_Err_NONE)
        return found;
    for (A_long i = 0; i < count; ++i) {
        AEGP_LayerH layer = nullptr;
        if (walk.layers->AEGP_GetCompLayerByIndex(comp, i, &layer) != A_Err_NONE || !layer ||
            !walk.IsActiveLight(layer))
            continue;
        SceneLight light;
        if (MakeSceneLight(walk.Read(layer), compAspect, light)) found.push_back(light);
    }
    return found;
}

} // namespace velorin
