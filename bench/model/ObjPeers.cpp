#include "ObjPeers.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

namespace velorin::bench {

bool ReadWithTinyObjLoader(const std::string& path) {
    tinyobj::ObjReader reader;
    return reader.ParseFromFile(path) && !reader.GetAttrib().vertices.empty();
}

bool ReadWithAssimp(const std::string& path) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, 0);
    return scene && scene->mNumMeshes > 0;
}

} // namespace velorin::bench
