#pragma once

#include "model/obj/GrowArray.h"
#include "services/ByteReader.h"
#include "services/NxMath.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The statements of an OBJ file as flat lists, before anything is looked up in them.
namespace velorin::obj {

// Indices of one corner, counted from 1 as the file does; an index that the file leaves out is 1. Negative
// ones are made absolute; what still is no index of its list is found out when the vertices are built.
struct Corner {
    std::int32_t position = 1, texCoord = 1, normal = 1;
    friend bool operator==(const Corner&, const Corner&) = default;
};
using Face = std::array<Corner, 3>; // a triangle

// Runs of faces and groups.
struct TextGroup {
    std::uint32_t material = 0; // into ObjText::materialNames
    std::size_t firstFace = 0, faceCount = 0;
};
struct TextMesh {
    std::string name;
    std::size_t firstGroup = 0, groupCount = 0;
};

struct ObjText {
    GrowArray<Point3> positions; // in the frame of ModelVertex: x and y have changed sides
    GrowArray<Point2> texCoords; // v counted from the top
    GrowArray<Point3> normals;   // unit or zero, in the frame of the positions
    GrowArray<Face> faces;
    std::vector<TextGroup> groups;
    std::vector<TextMesh> meshes;
    std::vector<std::string> materialNames; // in the order of their first face
    std::string mtlLibrary;                 // as the last "mtllib" line has it
};

// Reads the statements of a whole file. `defaultName`: of a mesh that a face starts without a "g" line. Any
// input gives a result; the memory taken grows with the bytes that are there.
[[nodiscard]] ObjText ReadObjText(Bytes file, std::string_view defaultName);

} // namespace velorin::obj
