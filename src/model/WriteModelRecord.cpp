#include "model/ModelRecord.h"
#include "model/ModelRecordFields.h"

#include <cstring>
#include <string>
#include <type_traits>

namespace velorin {

namespace {

// Counts the bytes of a record, or puts them into memory that has been counted before.
class RecordWriter {
public:
    explicit RecordWriter(std::byte* target) : target_(target) {}
    [[nodiscard]] std::size_t size() const { return size_; }

    void Raw(const void* data, std::size_t size) {
        if (target_ && size != 0) std::memcpy(target_ + size_, data, size);
        size_ += size;
    }
    template <class T>
    void Put(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        Raw(&value, sizeof value);
    }
    void Count(std::size_t count) { Put(static_cast<std::uint32_t>(count)); }
    void Flag(bool flag) { Put(static_cast<std::uint8_t>(flag)); }
    void Text(const std::string& text) {
        Count(text.size());
        Raw(text.data(), text.size());
    }

private:
    std::byte* target_;
    std::size_t size_ = 0;
};

void WriteHeader(RecordWriter& writer, const ModelData& model, std::uint32_t sourceSize) {
    writer.Put(kModelRecordVersion);
    writer.Put(sourceSize);
    writer.Count(model.vertices.size());
    writer.Count(model.materials.size());
    writer.Count(model.meshes.size());
    writer.Put(model.size);
    writer.Put(model.center);
    writer.Put(model.boundsMin);
    writer.Put(model.boundsMax);
    writer.Flag(model.hasLayers);
    writer.Flag(model.hasMeshTracks);
    writer.Count(model.layers.size());
}

void WriteLayersAndJoints(RecordWriter& writer, const ModelData& model) {
    for (const AnimationLayer& layer : model.layers) {
        writer.Text(layer.name);
        writer.Put(layer.endFrame);
        writer.Put(layer.frameRate);
        writer.Put(layer.startFrame);
        writer.Count(layer.tracks.size());
        for (const auto& [name, keys] : layer.tracks) {
            writer.Text(name);
            writer.Count(keys.size());
            writer.Raw(keys.data(), keys.size() * record::kLayerKeySize);
        }
    }
    writer.Count(model.joints.size());
    for (const ModelJoint& joint : model.joints) {
        writer.Text(joint.name);
        writer.Text(joint.parentName);
        writer.Put(joint.matrix);
    }
}

void WriteMaterial(RecordWriter& writer, const ModelMaterial& material) {
    writer.Text(material.name);
    for (const auto colour : record::kColours) writer.Put(material.*colour);
    for (const auto value : record::kValues) writer.Put(material.*value);
    for (const ModelMap& map : material.maps) {
        writer.Put(map.mmBase);
        writer.Put(map.mmGain);
        writer.Put(map.offset);
        writer.Put(map.scale);
        writer.Text(map.path);
    }
}

void WriteTrack(RecordWriter& writer, const MeshTrack& track) {
    writer.Count(track.samples.size());
    writer.Put(track.position);
    writer.Put(track.scale);
    writer.Put(track.rotation);
    writer.Put(track.rotationOrder);
    for (const TrackSample& sample : track.samples) {
        writer.Put(sample.frame);
        writer.Put(sample.quaternion);
        writer.Put(sample.position);
        writer.Put(sample.scale);
        writer.Put(sample.rotation);
        writer.Put(sample.hasKey);
        writer.Put(sample.channels);
    }
}

void WriteMesh(RecordWriter& writer, const ModelMesh& mesh) {
    writer.Put(mesh.center);
    writer.Put(mesh.boundsMin);
    writer.Put(mesh.boundsMax);
    writer.Count(mesh.groups.size());
    writer.Count(mesh.name.size());
    writer.Count(mesh.tracks.size());
    writer.Raw(mesh.name.data(), mesh.name.size());
    for (const ModelGroup& group : mesh.groups) {
        writer.Put(group.materialIndex);
        writer.Count(group.triangles.size());
        writer.Raw(group.triangles.data(), group.triangles.size() * sizeof(Triangle));
    }
    for (const MeshTrack& track : mesh.tracks) WriteTrack(writer, track);
}

void WriteRecord(RecordWriter& writer, const ModelData& model, std::uint32_t sourceSize) {
    WriteHeader(writer, model, sourceSize);
    WriteLayersAndJoints(writer, model);
    writer.Raw(model.vertices.data(), model.vertices.size() * sizeof(ModelVertex));
    for (const ModelMaterial& material : model.materials) WriteMaterial(writer, material);
    for (const ModelMesh& mesh : model.meshes) WriteMesh(writer, mesh);
    writer.Put(model.sourceOffset);
}

} // namespace

std::vector<std::byte> WriteModelRecord(const ModelData& model, std::uint32_t sourceSize) {
    RecordWriter measure(nullptr);
    WriteRecord(measure, model, sourceSize);
    std::vector<std::byte> bytes(measure.size());
    RecordWriter writer(bytes.data());
    WriteRecord(writer, model, sourceSize);
    return bytes;
}

} // namespace velorin
