#include "host/HostCamera.h"

#include "core/Projection.h"
#include "host/JitterTables.h"

#include <algorithm>
#include <cmath>

namespace velorin {
namespace {

Matrix ToMatrix(const A_Matrix4& from) {
    Matrix to;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            to(row, column) = static_cast<float>(from.mat[row][column]);
    return to;
}

AEGP_CompH EffectComp(PluginCall& call) {
    AEGP_LayerH layer = nullptr;
    AEGP_CompH comp = nullptr;
    const auto* effects = call.suites.Get<AEGP_PFInterfaceSuite1>();
    const auto* layers = call.suites.Get<AEGP_LayerSuite8>();
    if (!effects || !layers || effects->AEGP_GetEffectLayer(call.in_data->effect_ref, &layer) != A_Err_NONE ||
        !layer || layers->AEGP_GetLayerParentComp(layer, &comp) != A_Err_NONE)
        return nullptr;
    return comp;
}

// Centred on the comp, looking along z; the distance is the host's own for 36 mm film and a 50 mm lens.
void DefaultView(const PluginCall& call, HostCamera& camera) {
    camera.planeWidth = call.in_data->width;
    camera.planeHeight = call.in_data->height;
    camera.imagePlaneDistance = camera.planeWidth * 50.0 / 36.0;
    camera.matrix = {};
    for (int i = 0; i < 4; ++i) camera.matrix.mat[i][i] = 1;
    camera.matrix.mat[3][0] = camera.planeWidth / 2.0;
    camera.matrix.mat[3][1] = camera.planeHeight / 2.0;
    camera.matrix.mat[3][2] = -camera.imagePlaneDistance;
}

void ReadLensStreams(PluginCall& call, AEGP_LayerH layer, const A_Time& compTime, HostCamera& camera) {
    const auto* streams = call.suites.Get<AEGP_StreamSuite4>();
    if (!streams) return;
    const auto read = [&](AEGP_LayerStream which) {
        AEGP_StreamVal2 value{};
        if (streams->AEGP_GetLayerStreamValue(layer, which, AEGP_LTimeMode_CompTime, &compTime, 0, &value,
                                              nullptr) != A_Err_NONE)
            return 0.0;
        return value.one_d;
    };
    camera.zoom = read(AEGP_LayerStream_ZOOM);
    camera.depthOfField = read(AEGP_LayerStream_DEPTH_OF_FIELD) != 0;
    camera.focusDistance = read(AEGP_LayerStream_FOCUS_DISTANCE);
    camera.aperture = read(AEGP_LayerStream_APERTURE);
    camera.blurLevel = read(AEGP_LayerStream_BLUR_LEVEL);
}

Matrix Orthographic(const CameraState& camera) {
    const float n = camera.nearPlane, f = camera.farPlane;
    Matrix p;
    p(0, 0) = 2 / camera.viewWidth;
    p(1, 1) = 2 / camera.viewHeight;
    p(2, 2) = -2 / (f - n);
    p(3, 2) = (f + n) * (-1 / (f - n));
    return p;
}

DofMode ScreenDofMode(int popup) {
    switch (popup) {
    case 1:
        return DofMode::Preview;
    case 2:
        return DofMode::Continuous;
    case 3:
        return DofMode::Filter;
    case 5:
        return DofMode::FocusIndicator;
    default:
        return DofMode::Off;
    }
}

} // namespace

double CompPixelAspect(PluginCall& call) {
    const AEGP_CompH comp = EffectComp(call);
    const auto* comps = call.suites.Get<AEGP_CompSuite10>();
    const auto* items = call.suites.Get<AEGP_ItemSuite8>();
    AEGP_ItemH item = nullptr;
    A_Ratio ratio{1, 1};
    if (!comp || !comps || !items || comps->AEGP_GetItemFromComp(comp, &item) != A_Err_NONE || !item ||
        items->AEGP_GetItemPixelAspectRatio(item, &ratio) != A_Err_NONE || ratio.num <= 0 || ratio.den == 0)
        return 1;
    return static_cast<double>(ratio.num) / ratio.den;
}

HostCamera ReadHostCamera(PluginCall& call, A_long layerTime) {
    HostCamera camera;
    DefaultView(call, camera);
    const auto* effects = call.suites.Get<AEGP_PFInterfaceSuite1>();
    const auto* cameras = call.suites.Get<AEGP_CameraSuite2>();
    const PF_ProgPtr effect = call.in_data->effect_ref;
    A_Time compTime{};
    if (!effects || effects->AEGP_ConvertEffectToCompTime(effect, std::max(layerTime, A_long{0}),
                                                          call.in_data->time_scale, &compTime) != A_Err_NONE)
        return camera;

    AEGP_LayerH layer = nullptr;
    if (effects->AEGP_GetEffectCamera(effect, &compTime, &layer) != A_Err_NONE) layer = nullptr;
    A_Matrix4 matrix{};
    A_FpLong distance = 0;
    A_short width = 0, height = 0;
    if (effects->AEGP_GetEffectCameraMatrix(effect, &compTime, &matrix, &distance, &width, &height) ==
            A_Err_NONE &&
        distance > 0 && width > 0 && height > 0) {
        camera.matrix = matrix;
        camera.imagePlaneDistance = distance;
        camera.planeWidth = width;
        camera.planeHeight = height;
    }
    if (!layer) return camera;
    camera.present = true;
    if (cameras) {
        AEGP_CameraType type = AEGP_CameraType_PERSPECTIVE;
        if (cameras->AEGP_GetCameraType(layer, &type) == A_Err_NONE)
            camera.orthographic = type == AEGP_CameraType_ORTHOGRAPHIC;
        AEGP_FilmSizeUnits units = camera.filmUnits;
        A_FpLong size = camera.filmSize;
        if (cameras->AEGP_GetCameraFilmSize(layer, &units, &size) == A_Err_NONE && size > 0) {
            camera.filmUnits = units;
            camera.filmSize = size;
        }
    }
    ReadLensStreams(call, layer, compTime, camera);
    return camera;
}

CameraState MakeCameraState(const HostCamera& camera, double compAspect, float nearPlane, float farPlane) {
    CameraState state;
    const auto squeeze = static_cast<float>(1 / compAspect);
    state.view = Inverse(ToMatrix(camera.matrix));
    for (int column = 0; column < 4; ++column) state.view(0, column) *= squeeze;
    state.view = state.view * Matrix::Scale({1, 1, -1}); // the host looks along +z

    state.viewWidth = static_cast<float>(camera.planeWidth);
    state.viewHeight = static_cast<float>(camera.planeHeight);
    state.imagePlaneDistance = static_cast<float>(camera.imagePlaneDistance);
    state.orthographic = camera.orthographic;
    state.nearPlane = nearPlane;
    state.farPlane = farPlane > nearPlane ? farPlane : nearPlane + 1;
    state.projection = state.orthographic ? Orthographic(state) : PerspectiveProjection(state);
    state.position = TransformPoint({0, 0, 0}, Inverse(state.view));
    state.filmSize = static_cast<float>(camera.filmSize);
    if (!camera.present) return state; // the record's own defaults: no blur, a focus distance of 1

    state.blurLevel = camera.depthOfField ? static_cast<float>(camera.blurLevel * 0.01) : 0;
    state.aperture = static_cast<float>(camera.aperture);
    state.focusDistance = static_cast<float>(camera.focusDistance);
    if (camera.filmUnits == AEGP_FilmSizeUnits_VERTICAL) state.filmSize *= state.viewWidth / state.viewHeight;
    if (camera.filmUnits == AEGP_FilmSizeUnits_DIAGONAL)
        state.filmSize *= state.viewWidth / std::hypot(state.viewWidth, state.viewHeight);
    state.lensRatio = static_cast<float>(camera.zoom) * state.filmSize / state.viewWidth;
    return state;
}

CameraState MoveOnLens(const CameraState& camera, float x, float y) {
    CameraState moved = camera;
    moved.view = camera.view * Matrix::Translation({-x, -y, 0});
    moved.position = TransformPoint({0, 0, 0}, Inverse(moved.view));
    // In front of the eye z is negative: the point (0, 0, -focus) comes to (-x, -y, -focus) and must land in
    // the middle again.
    const float focus = std::max(camera.focusDistance, 1e-3f);
    moved.projection(2, 0) -= camera.projection(0, 0) * x / focus;
    moved.projection(2, 1) -= camera.projection(1, 1) * y / focus;
    return moved;
}

Lens SetUpLens(const CameraState& camera, const LensInput& input, DofSettings& dof) {
    Lens lens;
    lens.radius = camera.aperture * input.radiusMultiplier * camera.blurLevel * 0.2f;
    dof.mode = DofMode::Off;
    dof.view = camera.view;
    dof.projection = camera.projection;
    dof.spacing = 0;
    constexpr int kCompSettings = 1, kMultiPass = 4;
    if (input.dofPopup != kCompSettings || camera.blurLevel == 0 || input.renderMode == RenderMode::Draft)
        return lens;

    if (input.modePopup == kMultiPass && camera.aperture != 0 && input.output != Output::Focus)
        lens.passes = static_cast<int>(JitterTable(input.qualityPopup).size());
    dof.mode = ScreenDofMode(input.modePopup);
    // The plain and this camera's image of a point differ by its blur.
    const float half = lens.radius * 0.5f;
    const CameraState edge = MoveOnLens(camera, half, 0);
    dof.view = edge.view;
    dof.projection = edge.projection;
    dof.spacing = half * input.imageWidth / std::max(camera.focusDistance, 1e-3f);
    return lens;
}

} // namespace velorin
