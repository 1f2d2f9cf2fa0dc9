#include "render/TextureManager.h"

#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "render/RenderStatistics.h"
#include "render/Renderer.h"
#include "render/TextureUpload.h"
#include "images/Dds.h"
#include "images/Image.h"
#include "services/Log.h"
#include "services/MappedFile.h"
#include "services/Warnings.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

namespace velorin {

namespace {

constexpr std::uint32_t kPreviewLimit = 512;
constexpr double kTimeTolerance = 1; // seconds; file systems and archives round times

std::size_t ExtensionStart(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    const std::size_t slash = path.rfind('/');
    return dot == std::string::npos || (slash != std::string::npos && dot < slash) ? path.size() : dot;
}

bool IsDds(std::string_view extension) {
    return extension == ".dds" || extension == ".DDS";
}

// The file that is read for a request: one of the same name that holds the picture compressed, where that is
// allowed and there is one.
std::string FileFor(const std::string& path, std::uint32_t flags) {
    if (flags & (kTextureLowResolution | kTextureCompress)) {
        const std::string stem = path.substr(0, ExtensionStart(path));
        for (const char* extension : {".dds", ".DDS"})
            if (IsRegularFile(stem + extension)) return stem + extension;
    }
    return path;
}

// How the log calls a file's kind; null for kinds that are not logged.
const char* LoggedKind(const std::string& extension) {
    if (IsDds(extension)) return "DDS";
    for (const char* other : {".png", ".exr", ".hdr", ".pic"})
        if (extension == other) return nullptr;
    return "JPG";
}

double TimeOf(const std::string& path) {
    const auto facts = GetFileFacts(path);
    return facts ? facts->modifiedTime : 0;
}

double MillisecondsSince(std::int64_t ticks) {
    return static_cast<double>(MonotonicTicks() - ticks) * 1000 / static_cast<double>(MonotonicFrequency());
}

} // namespace

struct TextureManager::Loaded {
    gl::Texture texture;
    std::uint32_t width = 0, height = 0;
    bool fromBlocks = false, dxt5 = false;
};

TextureManager::TextureManager(const FullScreenQuad& quad, const DriverInfo& driver,
                               RenderStatistics& statistics)
    : quad_(quad), driver_(driver), statistics_(statistics) {
    MakeSamplesTexture();
}

TextureManager::~TextureManager() = default;

std::size_t TextureManager::entryCount() const {
    const std::lock_guard lock(mutex_);
    return entries_.size();
}

std::uint32_t TextureManager::SizeLimit(std::uint32_t flags) const {
    return flags & kTextureLowResolution ? kPreviewLimit : 1024u << std::min(textureDetail_, 16u);
}

// The same request, or one whose texture serves as well.
TextureEntry* TextureManager::FindEntry(const std::string& path, std::uint32_t flags) {
    const auto find = [&](std::uint32_t wanted) -> TextureEntry* {
        for (const auto& entry : entries_)
            if (!entry->stale && entry->flags == wanted && entry->path == path) return entry.get();
        return nullptr;
    };
    TextureEntry* entry = find(flags);
    if (!entry && (flags & kTextureLowResolution)) {
        entry = find(flags & ~(kTextureLowResolution | kTextureCompress));
        if (!entry) entry = find(flags & ~std::uint32_t{kTextureLowResolution});
    }
    if (!entry && (flags & kTextureCompress)) entry = find(flags & ~std::uint32_t{kTextureCompress});
    return entry;
}

bool TextureManager::FailedBefore(const std::string& path) {
    const auto failure =
        std::find_if(failures_.begin(), failures_.end(), [&](const Failure& f) { return f.path == path; });
    if (failure == failures_.end()) return false;
    if (failure->checked || failure->modifiedTime == TimeOf(failure->file)) return failure->checked = true;
    failures_.erase(failure);
    return false;
}

void TextureManager::NoteFailure(const std::string& path, const std::string& file,
                                 const std::string& reason) {
    const std::string standIn = file == path ? "" : file + " stands in for it, but ";
    ReportWarning(path + ": the texture cannot be used: " + standIn + reason + ".");
    const std::lock_guard lock(mutex_);
    failures_.push_back({path, file, TimeOf(file), true});
}

TextureEntry* TextureManager::GetTexture(const std::string& path, std::uint32_t flags) {
    if (path.empty()) return nullptr;
    const TextureEntry* base = nullptr;
    auto entry = std::make_unique<TextureEntry>();
    {
        const std::lock_guard lock(mutex_);
        if (TextureEntry* found = FindEntry(path, flags)) {
            ++found->refCount;
            return found;
        }
        if (FailedBefore(path)) return nullptr;
        entry->file = FileFor(path, flags);
        base = FindBase(entry->file, flags);
    }
    entry->modifiedTime = TimeOf(entry->file);
    if (base && base->modifiedTime != entry->modifiedTime) base = nullptr;
    std::string reason;
    Loaded loaded = base ? DeriveFrom(*base, flags) : LoadByExtension(entry->file, flags, reason);
    if (!loaded.texture) {
        NoteFailure(path, entry->file, reason);
        return nullptr;
    }
    entry->path = path;
    entry->flags = flags;
    entry->width = loaded.width;
    entry->height = loaded.height;
    entry->texture = std::move(loaded.texture);
    entry->fromBlocks = loaded.fromBlocks;
    entry->twoChannelNormals = loaded.dxt5 && (flags & kTextureNormalSlot) && !(flags & kTextureBump);
    entry->refCount = 1;
    entry->checked = true;
    const std::lock_guard lock(mutex_);
    return entries_.emplace_back(std::move(entry)).get();
}

void TextureManager::ReleaseTexture(TextureEntry* entry) {
    if (!entry) return;
    const std::lock_guard lock(mutex_);
    if (--entry->refCount > 0) return;
    std::erase_if(entries_, [&](const auto& e) { return e.get() == entry; });
}

// The texture from which a cube or a normal map can be derived without reading the file again: with all of
// its colours, and in the size that is asked for.
const TextureEntry* TextureManager::FindBase(const std::string& file, std::uint32_t flags) const {
    if (!(flags & (kTextureCube | kTextureBump))) return nullptr;
    const std::uint32_t plain = kTexturePlain | (flags & kTextureLowResolution);
    for (const auto& entry : entries_)
        if (!entry->stale && entry->flags == plain && entry->file == file) return entry.get();
    return nullptr;
}

TextureManager::Loaded TextureManager::DeriveFrom(const TextureEntry& base, std::uint32_t flags) {
    Loaded loaded;
    loaded.width = base.width;
    loaded.height = base.height;
    loaded.fromBlocks = base.fromBlocks;
    Derive(loaded, base.texture.name(), flags);
    return loaded;
}

TextureManager::Loaded TextureManager::LoadByExtension(const std::string& file, std::uint32_t flags,
                                                       std::string& reason) {
    const MappedFile mapped = MappedFile::Open(file, FileAccess::Read);
    if (!mapped.valid()) {
        reason = mapped.reason();
        return {};
    }
    const std::string extension = file.substr(ExtensionStart(file));
    const std::int64_t start = MonotonicTicks();
    Loaded loaded = IsDds(extension) ? LoadDds(mapped.bytes(), flags, reason)
                                     : LoadImageFile(mapped.bytes(), extension, flags, reason);
    if (!loaded.texture) return {};
    if (const char* kind = LoggedKind(extension)) Log("%s Load: %.2fms", kind, MillisecondsSince(start));
    if (!reason.empty()) ReportWarning(file + ": " + reason + ".");
    Derive(loaded, loaded.texture.name(), flags);
    if (!loaded.texture) reason = "the graphics driver refuses what is derived from it";
    return loaded;
}

TextureManager::Loaded TextureManager::LoadImageFile(Bytes file, const std::string& extension,
                                                     std::uint32_t flags, std::string& reason) {
    std::optional<Image> decoded = DecodeImage(file, extension, reason);
    if (!decoded) return {};
    const Image image = LimitedTo(std::move(*decoded), SizeLimit(flags));
    Loaded loaded;
    loaded.width = image.width();
    loaded.height = image.height();
    // What a map is derived from stays exact.
    const bool compress =
        (flags & kTextureCompress) && !(flags & (kTextureCube | kTextureBump | kTextureNormalSlot));
    loaded.texture = image.format() == Image::Format::Rgba8
                         ? LoadTexture(image.bytes(), image.width(), image.height(), compress)
                         : LoadFloatTexture(image.floats(), image.width(), image.height());
    if (!loaded.texture) reason = "the graphics driver refuses its size";
    return loaded;
}

TextureManager::Loaded TextureManager::LoadDds(Bytes file, std::uint32_t flags, std::string& reason) {
    const auto dds = ReadDds(file, reason);
    if (!dds) return {};
    // A preview does without the levels above its limit.
    std::size_t first = 0;
    if (flags & kTextureLowResolution)
        while (first + 1 < dds->levels.size() &&
               std::max(dds->levels[first].width, dds->levels[first].height) > kPreviewLimit)
            ++first;
    Loaded loaded;
    loaded.width = dds->levels[first].width;
    loaded.height = dds->levels[first].height;
    loaded.fromBlocks = true;
    loaded.dxt5 = dds->format == BlockFormat::Dxt5;
    loaded.texture = UploadBlocks(*dds, first, driver_);
    if (loaded.texture)
        ++statistics_.textureUploads;
    else
        reason = "the graphics driver refuses its size";
    return loaded;
}

// Puts what the flags ask for in the place of a picture's texture.
void TextureManager::Derive(Loaded& loaded, gl::Name picture, std::uint32_t flags) {
    if (flags & kTextureBump) {
        loaded.texture = BumpToNormal(picture);
        picture = loaded.texture.name();
    }
    if (flags & kTextureCube) {
        loaded.texture = EnvToCubeMap(picture);
        loaded.width = loaded.height = kEnvironmentCubeSide;
    }
}

gl::Texture TextureManager::LoadTexture(const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height,
                                        bool compress) {
    gl::Texture texture = UploadBytes(pixels, width, height, compress, driver_);
    if (texture) ++statistics_.textureUploads;
    return texture;
}

gl::Texture TextureManager::LoadFloatTexture(const float* pixels, std::uint32_t width, std::uint32_t height) {
    gl::Texture texture = UploadFloats(pixels, width, height, driver_);
    if (texture) ++statistics_.textureUploads;
    return texture;
}

TextureList::~TextureList() {
    for (TextureEntry* entry : entries_) manager_->ReleaseTexture(entry);
}

void TextureList::MarkUnused() {
    for (TextureEntry* entry : entries_) entry->used = entry->checked = false;
    const std::lock_guard lock(manager_->mutex_);
    for (TextureManager::Failure& failure : manager_->failures_) failure.checked = false;
}

void TextureList::ReleaseUnused() {
    std::erase_if(entries_, [&](TextureEntry* entry) {
        if (entry->used) return false;
        manager_->ReleaseTexture(entry);
        return true;
    });
}

bool TextureList::IsFresh(TextureEntry& entry) {
    if (!entry.checked) {
        entry.checked = true;
        entry.stale = std::abs(TimeOf(entry.file) - entry.modifiedTime) > kTimeTolerance;
    }
    return !entry.stale;
}

const TextureEntry* TextureList::Find(const std::string& path, std::uint32_t flags, float amount,
                                      bool environmentSlot) {
    if (path.empty() || (amount == 0 && !environmentSlot)) return nullptr;
    for (TextureEntry* entry : entries_) {
        if (entry->path != path) continue;
        if (entry->flags != flags && entry->flags != (flags & ~std::uint32_t{kTextureLowResolution}))
            continue;
        if (!IsFresh(*entry)) continue;
        entry->used = true;
        return entry;
    }
    TextureEntry* entry = manager_->GetTexture(path, flags);
    if (entry && !IsFresh(*entry)) {
        manager_->ReleaseTexture(entry);
        entry = manager_->GetTexture(path, flags);
    }
    if (!entry) return nullptr;
    entry->used = true;
    // A weaker match may be here already; one reference is enough.
    if (std::find(entries_.begin(), entries_.end(), entry) == entries_.end())
        entries_.push_back(entry);
    else
        manager_->ReleaseTexture(entry);
    return entry;
}

} // namespace velorin
