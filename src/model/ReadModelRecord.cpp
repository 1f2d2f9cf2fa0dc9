#include "model/Bounds.h"
#include "model/ModelRecord.h"
#include "model/ModelRecordFields.h"
#include "services/LargePages.h"

#include <algorithm>
#include <span>
#include <utility>

namespace velorin {

namespace {

// A record without properties names a material in four bytes; in memory one takes hundreds.
constexpr std::uint32_t kMostMaterials = 100'000;

class RecordReader {
public:
    RecordReader(ByteStream record, ModelData& model) : bytes_(std::move(record)), model_(model) {}

    bool Read() {
        return ReadHeader() && (version_ < record::kLayers || (ReadLayers() && ReadJoints())) &&
               Array(vertexCount_, model_.vertices) && ReadMaterials() && ReadMeshes() &&
               (version_ < record::kMeshTracks || Get(model_.sourceOffset));
    }

private:
    template <class T>
    bool Get(T& value) {
        return bytes_.Read(value);
    }

    bool Flag(bool& flag) {
        std::uint8_t byte = 0;
        if (!Get(byte)) return false;
        flag = byte != 0;
        return true;
    }

    bool Text(std::string& text, std::uint32_t length) {
        if (!bytes_.Holds(length, 1)) return false;
        text.resize(length);
        return bytes_.Read(std::as_writable_bytes(std::span(text)));
    }
    bool Text(std::string& text) {
        std::uint32_t length = 0;
        return Get(length) && Text(text, length);
    }

    template <class T>
    bool Array(std::uint32_t count, LargeArray<T>& values) {
        if (!bytes_.Holds(count, sizeof(T))) return false;
        ResizeUnwritten(values, count);
        return bytes_.Read(std::as_writable_bytes(std::span(values)));
    }

    bool ReadHeader() {
        std::uint32_t sourceSize = 0;
        if (!Get(version_) || !Get(sourceSize) || !Get(vertexCount_) || !Get(materialCount_) ||
            !Get(meshCount_) || !Get(model_.size) || !Get(model_.center) || !Get(model_.boundsMin) ||
            !Get(model_.boundsMax))
            return false;
        if (version_ > kModelRecordVersion) version_ = 3;
        if (version_ < record::kLayers) return true;
        return Flag(model_.hasLayers) && (version_ < record::kMeshTracks || Flag(model_.hasMeshTracks)) &&
               Get(layerCount_);
    }

    bool ReadLayers() {
        if (!bytes_.Holds(layerCount_, 20)) return false;
        for (std::uint32_t i = 0; i < layerCount_; ++i) {
            AnimationLayer& layer = model_.layers.emplace_back();
            std::uint32_t trackCount = 0;
            if (!Text(layer.name) || !Get(layer.endFrame) || !Get(layer.frameRate) ||
                !Get(layer.startFrame) || !Get(trackCount))
                return false;
            for (std::uint32_t j = 0; j < trackCount; ++j) {
                std::string name;
                std::uint32_t keyCount = 0;
                if (!Text(name) || !Get(keyCount) || !Array(keyCount, layer.tracks[name])) return false;
            }
        }
        return true;
    }

    bool ReadJoints() {
        std::uint32_t jointCount = 0;
        if (!Get(jointCount)) return false;
        for (std::uint32_t i = 0; i < jointCount; ++i) {
            ModelJoint& joint = model_.joints.emplace_back();
            if (!Text(joint.name) || !Text(joint.parentName) || !Get(joint.matrix)) return false;
        }
        return true;
    }

    bool ReadMaterials() {
        if (materialCount_ > kMostMaterials || !bytes_.Holds(materialCount_, 4)) return false;
        for (std::uint32_t i = 0; i < materialCount_; ++i) {
            ModelMaterial& material = model_.materials.emplace_back();
            if (!Text(material.name)) return false;
            if (version_ >= record::kMaterialProperties && !ReadProperties(material)) return false;
        }
        return true;
    }

    bool ReadProperties(ModelMaterial& material) {
        for (const auto colour : record::kColours)
            if (!Get(material.*colour)) return false;
        for (const auto value : record::kValues)
            if (!Get(material.*value)) return false;
        for (ModelMap& map : material.maps)
            if (!Get(map.mmBase) || !Get(map.mmGain) || !Get(map.offset) || !Get(map.scale) ||
                !Text(map.path))
                return false;
        return true;
    }

    bool ReadMeshes() {
        if (!bytes_.Holds(meshCount_, 20)) return false;
        model_.meshes.reserve(meshCount_);
        for (std::uint32_t i = 0; i < meshCount_; ++i)
            if (!ReadMesh(model_.meshes.emplace_back())) return false;
        return true;
    }

    bool ReadMesh(ModelMesh& mesh) {
        const bool hasBounds = version_ >= record::kMeshBounds;
        const bool hasTracks = version_ >= record::kMeshTracks;
        std::uint32_t groupCount = 0, nameLength = 0, trackCount = 0;
        if (!Get(mesh.center) || (hasBounds && (!Get(mesh.boundsMin) || !Get(mesh.boundsMax))) ||
            !Get(groupCount) || !Get(nameLength) || (hasTracks && !Get(trackCount)) ||
            !Text(mesh.name, nameLength) || !bytes_.Holds(groupCount, 8))
            return false;
        mesh.groups.reserve(groupCount);
        for (std::uint32_t i = 0; i < groupCount; ++i)
            if (!ReadGroup(mesh.groups.emplace_back())) return false;
        if (!hasBounds) ComputeMeshBounds(mesh);
        return !hasTracks || ReadTracks(mesh, trackCount);
    }

    bool ReadGroup(ModelGroup& group) {
        std::uint32_t triangleCount = 0;
        if (!Get(group.materialIndex) || !Get(triangleCount) || !Array(triangleCount, group.triangles))
            return false;
        const std::uint32_t limit = vertexCount_;
        std::uint32_t highest = 0;
        for (const Triangle& triangle : group.triangles)
            highest = std::max({highest, triangle[0], triangle[1], triangle[2]});
        if (highest >= limit)
            std::erase_if(group.triangles, [limit](const Triangle& triangle) {
                return triangle[0] >= limit || triangle[1] >= limit || triangle[2] >= limit;
            });
        return true;
    }

    // Old records do not store them.
    void ComputeMeshBounds(ModelMesh& mesh) const {
        Bounds bounds;
        bool any = false;
        for (const ModelGroup& group : mesh.groups) {
            any = any || !group.triangles.empty();
            for (const Triangle& triangle : group.triangles)
                for (const std::uint32_t index : triangle) bounds.Widen(model_.vertices[index].position);
        }
        if (!any) bounds = {{}, {}};
        mesh.boundsMin = bounds.min;
        mesh.boundsMax = bounds.max;
        mesh.center = bounds.Center();
    }

    // Up to version 10 a mesh has one track, of which the number of samples stands in the mesh's head.
    bool ReadTracks(ModelMesh& mesh, std::uint32_t trackCount) {
        if (version_ < record::kInterpolation)
            return trackCount == 0 || ReadSamples(mesh.tracks.emplace_back(), trackCount);
        if (!bytes_.Holds(trackCount, 44)) return false;
        mesh.tracks.reserve(trackCount);
        for (std::uint32_t i = 0; i < trackCount; ++i) {
            MeshTrack& track = mesh.tracks.emplace_back();
            std::uint32_t sampleCount = 0;
            if (!Get(sampleCount) || !Get(track.position) || !Get(track.scale) || !Get(track.rotation) ||
                !Get(track.rotationOrder) || !ReadSamples(track, sampleCount))
                return false;
        }
        return true;
    }

    bool ReadSamples(MeshTrack& track, std::uint32_t count) {
        if (!bytes_.Holds(count, version_ < record::kInterpolation ? 44 : 257)) return false;
        track.samples.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i)
            if (!ReadSample(track.samples.emplace_back())) return false;
        return true;
    }

    bool ReadSample(TrackSample& sample) {
        if (!Get(sample.frame) || !Get(sample.quaternion) || !Get(sample.position) || !Get(sample.scale))
            return false;
        if (version_ >= record::kSampleRotation && !Get(sample.rotation)) return false;
        if (version_ >= record::kInterpolation) return Get(sample.hasKey) && Get(sample.channels);
        return version_ < record::kSamplePadding || bytes_.Skip(4);
    }

    ByteStream bytes_;
    ModelData& model_;
    std::uint32_t version_ = 0, vertexCount_ = 0, materialCount_ = 0, meshCount_ = 0, layerCount_ = 0;
};

} // namespace

bool ReadModelRecord(ByteStream record, ModelData& model) {
    model = {};
    if (RecordReader(std::move(record), model).Read()) return true;
    model = {};
    return false;
}

bool ReadModelRecord(Bytes record, ModelData& model) {
    return ReadModelRecord(ByteStream(record), model);
}

std::optional<ModelRecordHead> ReadModelRecordHead(ByteStream record) {
    ModelRecordHead head;
    if (!record.Read(head.version) || !record.Read(head.sourceSize)) return std::nullopt;
    return head;
}

} // namespace velorin
