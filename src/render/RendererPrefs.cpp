#include "render/RendererPrefs.h"

#include "core/document/ChunkFile.h"
#include "services/Paths.h"

#include <cstring>
#include <string>

namespace velorin {

namespace {

enum : std::uint32_t { kTagInitFlag = 1 };
enum : std::uint32_t { kTagRenderPrefValue = 1, kTagRenderPrefFlag = 2 };

std::string InitFile() {
    return GetUserPath() + "/Quenmarworks/velorin2_init";
}
std::string PrefsFile() {
    return GetDataPath() + "/Quenmarworks/velorin2_render_prefs";
}

// The payload's first bytes; unchanged when there are too few.
void ReadNumber(Bytes payload, std::uint32_t& value) {
    if (payload.size() >= sizeof value) std::memcpy(&value, payload.data(), sizeof value);
}
void ReadFlag(Bytes payload, bool& flag) {
    if (!payload.empty()) flag = payload[0] != std::byte{0};
}

} // namespace

RendererPrefs LoadRendererPrefs() {
    RendererPrefs prefs;
    ChunkFile init(InitFile(), ChunkFile::Mode::Read);
    while (const std::uint32_t tag = init.NextChunk())
        if (tag == kTagInitFlag) ReadFlag(init.Payload(), prefs.initFlag);
    ChunkFile render(PrefsFile(), ChunkFile::Mode::Read);
    while (const std::uint32_t tag = render.NextChunk()) {
        if (tag == kTagRenderPrefValue) ReadNumber(render.Payload(), prefs.renderPrefValue);
        if (tag == kTagRenderPrefFlag) ReadFlag(render.Payload(), prefs.renderPrefFlag);
    }
    return prefs;
}

bool SaveRendererPrefs(const RendererPrefs& prefs) {
    ChunkFile file(PrefsFile(), ChunkFile::Mode::Write);
    file.WriteChunk(kTagRenderPrefValue, &prefs.renderPrefValue, sizeof prefs.renderPrefValue);
    const std::uint8_t flag = prefs.renderPrefFlag ? 1 : 0;
    file.WriteChunk(kTagRenderPrefFlag, &flag, sizeof flag);
    return file.Close();
}

} // namespace velorin
