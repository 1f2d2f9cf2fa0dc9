#include "ObjPeers.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

namespace velorin::bench {

std::shared_ptr<void> ReadWithTinyObjLoader(const std::string& path) {
    auto reader = std::make_shared<tinyobj::ObjReader>();
    return reader->ParseFromFile(path) && !reader->GetAttrib().vertices.empty() ? reader : nullptr;
}

std::shared_ptr<void> ReadWithAssimp(const std::string& path) {
    auto importer = std::make_shared<Assimp::Importer>();
    const aiScene* scene = importer->ReadFile(path, 0);
    return scene && scene->mNumMeshes > 0 ? importer : nullptr;
}

} // namespace velorin::bench
