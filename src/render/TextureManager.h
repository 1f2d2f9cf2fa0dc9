#pragma once

#include "render/gl/Handles.h"
#include "services/ByteReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velorin {

class FullScreenQuad;
class Image;
struct DriverInfo;
struct RenderStatistics;

inline constexpr std::uint32_t kEnvironmentCubeSide = 512;

// Flags of a texture request.
enum TextureFlags : std::uint32_t {
    kTexturePlain = 1,          // the picture as it is: part of every request
    kTextureCompress = 2,       // may be stored compressed
    kTextureNormalSlot = 4,     // for a normal or bump slot
    kTextureLowResolution = 16, // for an interactive preview: at most 512 a side
    kTextureBump = 32,          // a height map, to be turned into a normal map
    kTextureCube = 64           // an equirectangular picture, to be turned into a filtered cube map
};

// A texture that is shared by all who ask for the same file and flags. Owned by the manager.
struct TextureEntry {
    std::string path;
    std::string file; // that was read: `path`, or a compressed version that stands beside it
    std::uint32_t flags = 0;
    std::uint32_t width = 0, height = 0; // of the picture after the size limit; a cube's faces have 512
    gl::Texture texture;                 // 2D, or a cube with kTextureCube
    int refCount = 0;
    double modifiedTime = 0; // of `file`, seconds since 1970
    bool checked = false;    // the time was compared in this frame
    bool used = false;       // in this frame
    bool stale = false;      // the file has changed since: nobody gets this entry any more
    bool fromBlocks = false; // taken as compressed blocks from a ".dds" file
    // For a normal slot from DXT5 blocks, which hold x in alpha, y in green and z in blue.
    bool twoChannelNormals = false;
};

// Turns image files into GL textures and keeps them shared, and derives cube maps, roughness levels and
// normal maps from them. One a context, owned by Renderer. All calls but GetTexture's and ReleaseTexture's
// look at the list need the context current on the calling thread; the list itself is guarded by a mutex.
// Every function leaves the GL state as it was, but for the textures bound to the active unit and to the last
// two units.
//
// Everything here is in texture space: v = 0 is the top row of a picture. An equirectangular picture has the
// direction (x, y, z) at u = atan(x, z) / 2 pi + 1/2, v = atan(y, |xz|) / pi + 1/2: its centre looks along +z
// and its top row along -y, which is up in world space.
class TextureManager {
public:
    TextureManager(const FullScreenQuad& quad, const DriverInfo& driver, RenderStatistics& statistics);
    ~TextureManager();
    TextureManager(const TextureManager&) = delete;
    TextureManager& operator=(const TextureManager&) = delete;

    // One reference to the texture of a file; null when the path is empty or the file gives no picture, and
    // then one warning names file and reason (ReportWarning). A file that failed is not tried again until it
    // changes. A request for a low resolution also takes an entry made without, and one that allows
    // compression an entry that is not compressed. A cube or normal map is derived from the plain texture of
    // the same file, when that is here already.
    [[nodiscard]] TextureEntry* GetTexture(const std::string& path, std::uint32_t flags);
    // Gives one reference back; the texture goes with the last. Null is allowed.
    void ReleaseTexture(TextureEntry* entry);
    [[nodiscard]] std::size_t entryCount() const;

    // The largest side of a texture is 1024 << detail, at most 16 of it. Default 0. For entries made later.
    void SetTextureDetail(std::uint32_t detail) { textureDetail_ = detail; }

    // 2D textures with a full mip chain, trilinear, repeating, anisotropic when the driver can. `pixels` is
    // RGBA, row 0 first, 4 values a pixel. Empty on a side of 0, one above the driver's limit, or a GL fault.
    [[nodiscard]] gl::Texture LoadTexture(const std::uint8_t* pixels, std::uint32_t width,
                                          std::uint32_t height, bool compress);
    [[nodiscard]] gl::Texture LoadFloatTexture(const float* pixels, std::uint32_t width,
                                               std::uint32_t height);

    // A cube of 512 a face from a 2D equirectangular texture, with filtered levels 1 to 6 (FilterCubeMap).
    [[nodiscard]] gl::Texture EnvToCubeMap(gl::Name texture);

    // Fills the levels of a cube (side `size`, level 0 given, `internalFormat` for the new ones) with
    // increasing roughness: level L from level L - 1 by the GGX distribution of roughness (L / 6)^2.8, six
    // levels. With `quick`, 128 samples in place of 512, and of a cube above 64 the six levels are those
    // below the size of 64, then copied to levels 1 to 6, so that level 6 is the roughest in every cube.
    void FilterCubeMap(gl::Name cube, std::uint32_t size, unsigned internalFormat, bool quick);
    // The same for a 2D equirectangular or planar texture, in texture space, levels in GL_RGBA16F. Values
    // above 1 are compressed to 1 + log2 of themselves at each level.
    void FilterSphereMap(gl::Name texture, std::uint32_t width, std::uint32_t height, bool quick);

    // A tangent-space normal map of the same size, mip-mapped, from heights (the mean of red, green and
    // blue).
    [[nodiscard]] gl::Texture BumpToNormal(gl::Name texture);

    // A copy of an equirectangular texture, blurred by `radius` texels of its height in both directions,
    // wider in longitude towards the poles and across them. GL_RGBA16F, mip-mapped.
    [[nodiscard]] gl::Texture BlurSphere(gl::Name texture, float radius);

    // 512 by 24 GL_RGBA16F: rows of sample half-vectors by roughness (see SampleRows.h).
    [[nodiscard]] gl::Name samplesTexture() const { return samples_.name(); }

private:
    enum class Filter : std::uint8_t {
        SphereBlur,
        EnvToCube,
        BumpToNormal,
        CubeFilter,
        SphereFilter,
        CubeCopy,
        Count
    };
    static constexpr std::size_t kFilters = static_cast<std::size_t>(Filter::Count);
    struct Failure {
        std::string path, file;  // asked for, and tried
        double modifiedTime = 0; // 0: there was no file
        bool checked = false;    // in this frame
    };
    struct Loaded;
    struct FilterScope;
    friend class TextureList;

    [[nodiscard]] TextureEntry* FindEntry(const std::string& path, std::uint32_t flags);
    [[nodiscard]] bool FailedBefore(const std::string& path);
    void NoteFailure(const std::string& path, const std::string& file, const std::string& reason);
    [[nodiscard]] std::uint32_t SizeLimit(std::uint32_t flags) const;

    [[nodiscard]] const TextureEntry* FindBase(const std::string& file, std::uint32_t flags) const;
    [[nodiscard]] Loaded DeriveFrom(const TextureEntry& base, std::uint32_t flags);
    [[nodiscard]] Loaded LoadByExtension(const std::string& file, std::uint32_t flags, std::string& reason);
    [[nodiscard]] Loaded LoadImageFile(Bytes file, const std::string& extension, std::uint32_t flags,
                                       std::string& reason);
    [[nodiscard]] Loaded LoadDds(Bytes file, std::uint32_t flags, std::string& reason);
    void Derive(Loaded& loaded, gl::Name picture, std::uint32_t flags);

    void MakeSamplesTexture();
    [[nodiscard]] gl::Name Program(Filter filter);
    void DrawCubeLevel(gl::Name program, gl::Name cube, int level, std::uint32_t side) const;
    void FillConstantCube(gl::Name texture, gl::Name cube) const;
    void FilterLevels(gl::Name cube, std::uint32_t size, bool quick, int skip);
    void SpreadLevels(gl::Name cube, std::uint32_t size, int skip);
    void BlurPass(gl::Name source, gl::Name target, std::uint32_t width, std::uint32_t height, float radius,
                  bool horizontal);

    const FullScreenQuad& quad_;
    const DriverInfo& driver_;
    RenderStatistics& statistics_;
    std::uint32_t textureDetail_ = 0;

    mutable std::mutex mutex_; // guards entries_ and failures_
    std::vector<std::unique_ptr<TextureEntry>> entries_;
    std::vector<Failure> failures_;

    gl::Texture samples_;
    std::array<gl::Program, kFilters> programs_;
    std::array<bool, kFilters> programTried_{};
};

// The textures that one owner (a model, a scene) has on loan from the manager, looked up by slot. The manager
// must outlive it.
class TextureList {
public:
    explicit TextureList(TextureManager& manager) : manager_(&manager) {}
    ~TextureList();
    TextureList(const TextureList&) = delete;
    TextureList& operator=(const TextureList&) = delete;

    // Before a frame: nothing is used yet, and file times are to be compared once more.
    void MarkUnused();
    // After a frame: gives back what was not used in it.
    void ReleaseUnused();

    // The entry for a slot, marked as used. Null when the slot has no file, when the file gives no picture,
    // or when `amount` is exactly 0 and the slot is not the environment's: the caller then takes its default
    // texture or cube. Once a frame the file's time is compared: one that differs by more than a second loads
    // the file again.
    [[nodiscard]] const TextureEntry* Find(const std::string& path, std::uint32_t flags, float amount = 1,
                                           bool environmentSlot = false);

private:
    // Compares the file's time once a frame.
    [[nodiscard]] static bool IsFresh(TextureEntry& entry);

    TextureManager* manager_;
    std::vector<TextureEntry*> entries_;
};

} // namespace velorin
