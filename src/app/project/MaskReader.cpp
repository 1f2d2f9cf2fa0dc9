#include "app/project/MaskReader.h"

namespace velorin::app {

namespace {

struct VertexLists {
    const TextSource& source;
    KeyframeClock clock;
    std::vector<std::vector<MaskVertex>> lists;
};

// Reads one list of vertices; its place among the lists stands for it as a value.
bool ReadVertices(void* context, const JsonNode& node, const std::string& place, Components& number) {
    auto& to = *static_cast<VertexLists*>(context);
    if (node.kind != JsonKind::Array) {
        to.source.Error(node.begin,
                        place + ": expected a list of vertices, found " + JsonKindName(node.kind));
        return false;
    }
    number[0] = static_cast<double>(to.lists.size());
    std::vector<MaskVertex>& vertices = to.lists.emplace_back();
    for (const JsonNode& item : node.items) {
        ObjectReader reader(to.source, item, place + "[" + std::to_string(vertices.size()) + "]", to.clock);
        MaskVertex& v = vertices.emplace_back();
        reader.Read("position", v.position, 2);
        reader.Read("in", v.in, 2);
        reader.Read("out", v.out, 2);
        reader.Finish();
    }
    return true;
}

constexpr AnimatedValue MaskVertex::*kParts[] = {&MaskVertex::position, &MaskVertex::in, &MaskVertex::out};

// Keyframes of whole lists as keyframes of each vertex. Null, or what is wrong with them.
const char* Spread(const AnimatedValue& shapes, const VertexLists& read, std::vector<MaskVertex>& vertices) {
    vertices = read.lists.front();
    for (const Keyframe& key : shapes.keys) {
        const std::vector<MaskVertex>& list = read.lists[static_cast<std::size_t>(key.value[0])];
        if (list.size() != vertices.size()) return "all keyframes of a mask have as many vertices";
        for (std::size_t i = 0; i < list.size(); ++i)
            for (const auto part : kParts) {
                if (!(list[i].*part).keys.empty())
                    return "the vertices of a keyframe have no keyframes of their own";
                (vertices[i].*part).keys.push_back({key.time, (list[i].*part).constant, key.ease});
            }
    }
    return nullptr;
}

} // namespace

void ReadMasks(const TextSource& source, ObjectReader& layer, KeyframeClock clock, std::vector<Mask>& masks) {
    const JsonNode* list = layer.Member("masks", JsonKind::Array);
    if (!list) return;
    for (const JsonNode& node : list->items) {
        const std::string place = layer.place() + ".masks[" + std::to_string(masks.size()) + "]";
        ObjectReader reader(source, node, place, clock);
        Mask& mask = masks.emplace_back();
        reader.Read("closed", mask.closed);
        const JsonNode* vertices = reader.Member("vertices");
        VertexLists read{source, clock, {}};
        AnimatedValue shapes;
        if (vertices &&
            ReadAnimated(source, *vertices, place + ".vertices", clock, ReadVertices, &read, shapes)) {
            const char* fault = Spread(shapes, read, mask.vertices);
            if (fault) source.Error(vertices->begin, place + ".vertices: " + fault);
        }
        reader.Finish();
    }
}

} // namespace velorin::app
