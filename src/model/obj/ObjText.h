#pragma once

#include "model/ModelData.h"
#include "model/obj/FaceLines.h"
#include "model/obj/GrowArray.h"
#include "services/ByteReader.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The statements of an OBJ file as flat lists, before anything is looked up in them.
namespace velorin::obj {

struct TextGroup {
    std::uint32_t material = 0; // into ObjText::materialNames
};
struct TextMesh {
    std::string name;
    std::size_t firstGroup = 0, groupCount = 0;
};

// "f" lines that follow one another, left unread until all lists are there.
struct FaceRun {
    Bytes text; // within the file
    ListLengths lengths;
    std::uint32_t group = 0;
};

struct ObjText {
    GrowArray<Point3> positions;  // in the frame of ModelVertex: x and y have changed sides
    GrowArray<Point2> texCoords;  // v counted from the top
    GrowArray<Point3> normals;    // unit or zero, in the frame of the positions
    std::vector<FaceRun> runs;    // in the order of the file, so also of the groups
    std::size_t faceEstimate = 0; // triangles in the runs: exact for lines of the usual form
    std::vector<TextGroup> groups;
    std::vector<TextMesh> meshes;
    std::vector<std::string> materialNames; // in the order of their first face
    std::string mtlLibrary;                 // as the last "mtllib" line has it
};

// Reads the statements of a whole file. `defaultName`: of a mesh that a face starts without a "g" line. Any
// input gives a result; the memory taken grows with the bytes that are there. The result refers to the file's
// bytes.
[[nodiscard]] ObjText ReadObjText(Bytes file, std::string_view defaultName);

// Three new vertices for each triangle of the faces, in the order of the file; the tangents are zero. A face
// that refers outside a list is left out as a whole. Ends the lists and runs of `text`. `triangleCounts` gets
// the number of triangles of each group. A last group without any face is taken from `text`.
[[nodiscard]] ModelVertices BuildVertices(ObjText& text, std::vector<std::uint32_t>& triangleCounts);

} // namespace velorin::obj
