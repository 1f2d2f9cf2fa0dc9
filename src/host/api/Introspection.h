#pragma once

#include <cstdint>

// How the `velorin` command looks into the plug-in: a private call type of the general command
// (PF_Cmd_COMPLETELY_GENERAL), whose value no sibling instance and no host sends by chance. Requests and
// replies are JSON, so that this header is all that the two sides share.
namespace velorin {

inline constexpr std::uint64_t kIntrospectionCall = 0x3149'4E49'524F'4C56; // "VLORINI1"

// The record that `extra` of the general command points to; the reply's type depends on the call type.
struct GeneralCall {
    std::uint64_t type = 0;
    void* reply = nullptr;
};

// The first byte of a reply of raw bytes, which follow it; no JSON starts with it.
inline constexpr char kRawReplyMark = '=';

// `reply` of a GeneralCall of type kIntrospectionCall. `respond` is called exactly once, inside the call; its
// bytes are valid only during it. A request that cannot be served is answered {"error": "...", "at":
// "/json/pointer"}.
//
// Requests, by the member "do" (those marked * need an instance, that is in_data->effect_ref and sequence
// data):
//   params          array of parameter rows in host order
//   sceneToFlat     "scene": {...}, "folder": base of relative paths -> the flat document as raw bytes;
//                   "import": false leaves models as they are, without the materials of their files
//   flatToScene     payload = flat document -> the scene as JSON, "defaults": true for every field
//   capture *       "what": ["particles", "draws"], "group": 1..5: keep these of the next rendered frame
//   captured        what the last capture kept: {"particles": [...], "draws": [...]}
//   export *        "path": of an OBJ file, "group": 1..5 or 0 for all: written with materials and
//                   textures as they stand at the call's time -> {}
//   mesh            payload = flat document, "model": name, "prepared": bool -> the ModelData; extrusions of
//                   text and masks need an instance, at whose time its path layers are read
//   devices         GL and CL devices with their limits
//   frame           of the last frame: {"stages": {name: ms}, "gl": {...}, "uploads": n, "programs": n,
//                   "models": {"parsed": n, "cached": n} since the start, "warnings": [...]}; warnings are
//                   given once
//   meshUses        the meshes that instances share: [{"path": file, "uses": n}...]
//
// Presets (.qmx, .qmt, .qbv; `file` may name an entry of a bundle) and the library; a refusal for want of a
// name has "names", those that there are:
//   savePreset      payload = flat document, "kind": "model", "material" or "bevel", "name": of the model
//                   or material, "bevel": 1..5, "file" -> {"picture": [width, height]} (0, 0 when none could
//                   be drawn)
//   renewPicture    "file": draws the picture in a preset anew -> {"picture": [width, height]}
//   readPreset      "file" -> {"kind", "picture": {width, height}, "models": [{depth, name, type, path,
//                   materials}], "materials": [...], "bevel": {...}}
//   presetScene     "files": presets and models -> a scene as JSON, each file in a group of its own, all
//                   paths absolute
//   presetPicture   "file", "width", "height" -> raw: RGBA bytes, row by row, straight alpha
//   bundleCreate    "folder", "file", "id" -> {"items": n, "skipped": [{name, reason}]}
//   bundleList      "file" -> {"id", "folders": [...], "items": [{name, bytes}]}
//   bundleExtract   "file", "entry" -> raw: its bytes
//   library         array of the places where library files are looked for, in order
struct IntrospectionRequest {
    const char* request = nullptr; // UTF-8 JSON, zero-terminated
    const void* payload = nullptr;
    std::uint64_t payloadSize = 0;
    void* context = nullptr;
    void (*respond)(void* context, const void* bytes, std::uint64_t size) = nullptr;
};

} // namespace velorin
