#pragma once

#include "model/ModelData.h"

#include <cstdint>
#include <list>
#include <string>
#include <vector>

// What a reader of model files shows of a file; ImportFile turns it into ModelData. Everything that an
// operation hands out lives as long as the FileModel.
namespace velorin {

// One sample of a mesh track.
class FileKeyframe {
public:
    virtual ~FileKeyframe() = default;
    [[nodiscard]] virtual std::uint32_t Frame() const = 0;
    // A TrackSample; its `frame` has no meaning here.
    [[nodiscard]] virtual const TrackSample& Values() const = 0;
};

// A mesh track.
class FileAnimationLayer {
public:
    virtual ~FileAnimationLayer() = default;
    [[nodiscard]] virtual std::uint32_t SampleCount() const = 0;
    [[nodiscard]] virtual const FileKeyframe& Sample(std::uint32_t index) const = 0;
    [[nodiscard]] virtual Point3 Position() const = 0;
    [[nodiscard]] virtual Point3 Scale() const = 0;
    [[nodiscard]] virtual Point3 Rotation() const = 0;
    [[nodiscard]] virtual std::uint32_t RotationOrder() const = 0;
};

class FileMaterial {
public:
    struct Transform {
        Point2 offset{0, 0}, scale{1, 1};
    };

    virtual ~FileMaterial() = default;
    [[nodiscard]] virtual const std::string& Name() const = 0;
    [[nodiscard]] virtual Point3 DiffuseColour() const = 0;
    [[nodiscard]] virtual Point3 SpecularColour() const = 0;
    [[nodiscard]] virtual Point3 EmissiveColour() const = 0;
    [[nodiscard]] virtual Point3 ReflectionColour() const = 0;
    [[nodiscard]] virtual Point3 TransparencyColour() const = 0;
    [[nodiscard]] virtual float DiffuseBrightness() const = 0;
    [[nodiscard]] virtual float SpecularExponent() const = 0;
    [[nodiscard]] virtual float Value8() const = 0;
    [[nodiscard]] virtual float Value9() const = 0;
    [[nodiscard]] virtual float Value10() const = 0;
    [[nodiscard]] virtual float Value11() const = 0;
    [[nodiscard]] virtual float Opacity() const = 0;
    [[nodiscard]] virtual float Value13() const = 0;
    // As the file writes it, relative to FileModel::Folder(); empty: no map.
    [[nodiscard]] virtual const std::string& MapPath(MapSlot slot) const = 0;
    [[nodiscard]] virtual float MapBase(MapSlot slot) const = 0;
    [[nodiscard]] virtual float MapGain(MapSlot slot) const = 0;
    [[nodiscard]] virtual Transform MapTransform(MapSlot slot) const = 0;
};

class FileGroup {
public:
    virtual ~FileGroup() = default;
    [[nodiscard]] virtual std::uint32_t TriangleCount() const = 0;
    // TriangleCount() triples of positions in FileModel::Vertices(), each below VertexCount().
    [[nodiscard]] virtual const Triangle* Indices() const = 0;
    // The same triples as a list of the caller's.
    [[nodiscard]] virtual ModelTriangles CopyTriangles() const {
        return {Indices(), Indices() + TriangleCount()};
    }
    [[nodiscard]] virtual std::uint32_t MaterialIndex() const = 0;
};

class FileMesh {
public:
    virtual ~FileMesh() = default;
    [[nodiscard]] virtual const std::string& Name() const = 0;
    [[nodiscard]] virtual std::uint32_t GroupCount() const = 0;
    [[nodiscard]] virtual const FileGroup& Group(std::uint32_t index) const = 0;
    [[nodiscard]] virtual std::uint32_t TrackCount() const = 0;
    // Null where there is none.
    [[nodiscard]] virtual const FileAnimationLayer* Track(std::uint32_t index) const = 0;
};

class FileModel {
public:
    virtual ~FileModel() = default;
    // Reads a file; called once for an object. `loadMaterials`: with the materials' properties, else only
    // their names. False when the file gives no geometry; Reason() says why.
    [[nodiscard]] virtual bool Load(const std::string& path, bool loadMaterials, bool loadAnimation) = 0;
    // Why Load failed, to stand behind the file's name: "cannot be opened: No such file or directory".
    [[nodiscard]] virtual const std::string& Reason() const = 0;
    // Without a closing slash; empty for a path without a folder.
    [[nodiscard]] virtual const std::string& Folder() const = 0;
    [[nodiscard]] virtual std::uint32_t MaterialCount() const = 0;
    [[nodiscard]] virtual const FileMaterial& Material(std::uint32_t index) const = 0;
    [[nodiscard]] virtual std::uint32_t MeshCount() const = 0;
    [[nodiscard]] virtual const FileMesh& Mesh(std::uint32_t index) const = 0;
    [[nodiscard]] virtual std::uint32_t VertexCount() const = 0;
    [[nodiscard]] virtual const ModelVertex* Vertices() const = 0;
    // Hands the vertices over instead of a copy; VertexCount() is 0 afterwards.
    [[nodiscard]] virtual ModelVertices TakeVertices() = 0;
    [[nodiscard]] virtual bool HasLayers() const = 0;
    [[nodiscard]] virtual const std::vector<AnimationLayer>& Layers() const = 0;
    [[nodiscard]] virtual const std::list<ModelJoint>& Joints() const = 0;
    [[nodiscard]] virtual bool HasMeshTracks() const = 0;
    [[nodiscard]] virtual Point3 SourceOffset() const = 0;
};

} // namespace velorin
