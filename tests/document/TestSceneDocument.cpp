#include "core/document/ChunkFile.h"
#include "core/document/Scene.h"

#include "FormatChecks.h"
#include "document/DocumentSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

using namespace velorin;
using namespace velorin::test;

namespace {

Buffer Magic(int version) {
    return Text("ZQS") + U8({version});
}

// What every model begins and ends with.
constexpr const char* kHead =
    "100:1 101:1 102:1 103:4 104:4 105:4 106:4 107:4 108:4 109:1 115:1 116:4 117:1 118:1 119:12 192:4 320:8 "
    "121:1 122:1 123:4 124:12 125:4 126:4 127:4 128:4 129:1 140:16 141:12 142:12 143:4 144:4 157:12 150:4 "
    "151:3 153:4 159:4 156:1 193:1 194:1 195:3 ";
constexpr const char* kTail = "110:1 111:1 112:1 113:1 114:1 191:1 300:4 301:1 ";
const std::string kBevel =
    "160:4 161:4 162:4 163:4 164:4 165:4 166:4 167:4 168:1 169:1 170:1 171:4 172:4 173:4 174:4 ";
const std::string kExtrusion =
    "131:4 132:1 133:4 134:4 135:4 136:4 137:1 138:1 139:1 180:1 181:4 182:4 183:4 184:1 " + kBevel + kBevel +
    kBevel + kBevel + kBevel;

std::unique_ptr<Scene> ReadScene(const Buffer& flat) {
    auto scene = std::make_unique<Scene>();
    EXPECT_TRUE(scene->Read(flat));
    return scene;
}

// Whether a point or a row of flags has these elements, without braces, which the cases below would be full
// of.
bool Is(Point2 p, float x, float y) {
    return p == Point2{x, y};
}
bool Is(Point3 p, float x, float y, float z) {
    return p == Point3{x, y, z};
}
template <class... Flag>
bool Is(const std::array<bool, sizeof...(Flag)>& flags, Flag... flag) {
    return flags == std::array<bool, sizeof...(Flag)>{flag...};
}

// A document with one model of these chunks.
std::unique_ptr<Scene> ReadModel(int version, const Buffer& chunks) {
    return ReadScene(Magic(version) + Narrow(100, U8({0})) + chunks);
}

} // namespace

TEST(SceneDocument, EmptyOnesGiveTheDefaultEnvironment) {
    for (const int version : {1, 2, 3, 4}) {
        const auto scene = ReadScene(Magic(version));
        EXPECT_TRUE(scene->models.empty());
        EXPECT_TRUE(scene->materials.empty());
        EXPECT_EQ(scene->environment.path, "Materials/Environment/Basic_2K/Basic_2K_03.jpg");
        EXPECT_TRUE(scene->environment.enabled);
        EXPECT_EQ(scene->environment.gamma, 2.2f);
        EXPECT_EQ(scene->environment.channel, Channel::Environment);
    }
    Scene scene;
    EXPECT_FALSE(scene.Read({}));
    EXPECT_FALSE(scene.Read(Text("ZQ")));
    EXPECT_EQ(scene.thumbnailEnvironment.path, "Materials/Material_Thumbnail_Env.jpg");
}

TEST(SceneDocument, BeginsWithTheEnvironment) {
    Scene scene;
    scene.environment.path = "sky.hdr";
    scene.environment.customLayer = 3;
    scene.environment.uvOffset = {0.25f, 0.5f};
    scene.environment.uvRepeat = {2, 4};
    scene.environment.contrast = 0.125f;
    scene.environment.saturation = -0.5f;
    scene.environment.brightness = 0.75f;
    scene.environment.invert = true;
    scene.environment.inputLevels = {0.125f, 0.25f, 0.5f};
    scene.environment.outputLevels = {0.0625f, 0.875f};
    const Buffer golden = Magic(4) + Narrow(50, Zero("sky.hdr")) + Narrow(51, U8({1})) +
                          Narrow(52, F32({1})) + Narrow(53, F32({2.2f})) + Narrow(54, U32(3)) +
                          Narrow(55, F32({0.25f, 0.5f, 2, 4})) + Narrow(56, F32({0.125f})) +
                          Narrow(57, F32({-0.5f})) + Narrow(58, F32({0.75f})) + Narrow(59, U8({1})) +
                          Narrow(63, F32({0.125f, 0.25f, 0.5f})) + Narrow(62, F32({0.0625f, 0.875f}));
    EXPECT_EQ(scene.Flat(), golden);
    EXPECT_EQ(ReadScene(golden)->environment, scene.environment);
    const auto old = ReadScene(Magic(4) + Narrow(61, F32({0.1f, 0.9f, 0.6f})));
    EXPECT_EQ(old->environment.inputLevels, (std::array<float, 3>{0.1f, 0.6f, 0.9f}));
}

TEST(SceneDocument, WritesTheTagsOfEachModelTypeInOrder) {
    const struct {
        ModelType type;
        std::uint32_t primitive;
        std::string middle;
    } cases[] = {
        {ModelType::File, 1, ""},
        {ModelType::ImportedFile, 1, ""},
        {ModelType::LayerPlane, 1, ""},
        {ModelType::Sequence, 1, ""},
        {ModelType::Folder, 1, ""},
        {ModelType::Extrusion, 1, kExtrusion},
        {ModelType::PathExtrusion, 1, kExtrusion + "350:1 351:4 352:8 353:8 354:8 355:8 356:8 "},
        {ModelType::Primitive, 1, "210:4 211:12 230:4 231:4 232:1 241:12 "},
        {ModelType::Primitive, 2, "210:4 227:4 228:4 229:1 "},
        {ModelType::Primitive, 3, "210:4 215:4 216:4 261:4 217:1 235:4 236:4 262:4 265:4 266:4 "},
        {ModelType::Primitive, 4, "210:4 218:4 219:4 220:4 242:4 221:1 237:4 238:4 263:4 243:4 "},
        {ModelType::Primitive, 5, "210:4 222:4 223:4 224:4 225:4 226:1 291:4 "},
        {ModelType::Primitive, 6, "210:4 212:4 213:4 214:1 239:4 240:4 264:4 "},
        {ModelType::Primitive, 7, "210:4 233:8 234:8 292:1 "},
        {ModelType::Primitive, 8, "210:4 244:4 245:4 246:4 247:1 248:4 249:4 260:4 "},
        {ModelType::Primitive, 9, "210:4 "}, // not used
        {ModelType::Primitive, 10, "210:4 267:4 268:4 269:4 270:4 271:1 272:4 273:4 274:4 275:4 "},
        {ModelType::Primitive, 11,
         "210:4 276:4 277:1 278:4 279:4 280:4 281:4 282:4 283:4 284:4 285:4 286:4 287:4 288:4 289:4 290:4 "},
    };
    for (const auto& c : cases) {
        Scene scene;
        scene.models.push_back(Ref<SceneModel>::Make(c.type));
        scene.models[0]->primitive = static_cast<PrimitiveKind>(c.primitive);
        if (c.type == ModelType::PathExtrusion)
            scene.models[0]->storedPaths.resize(1, std::vector<PathPoint>(1));
        EXPECT_EQ(LayoutOf(scene.Flat(), kSceneForm, 100), kHead + c.middle + kTail);
    }
}

TEST(SceneDocument, WritesListsBetweenTheirNeighbours) {
    Scene scene;
    scene.materials.push_back(Ref<SceneMaterial>::Make());
    scene.models.push_back(Ref<SceneModel>::Make());
    SceneModel& model = *scene.models[0];
    model.meshVisible = {true, false};
    model.bindings = {{scene.materials[0].get(), 0, false}, {nullptr, 7, true}};
    model.meshes = {Ref<SceneMesh>::Make(), Ref<SceneMesh>::Make()};
    model.meshes[0]->parts = {4, 5};
    const std::string mesh = "402:1 403:12 404:12 405:12 406:1 407:4 408:4 410:4 411:12 412:4 413:4 416:1 ";
    const std::string layout = LayoutOf(scene.Flat(), kSceneForm, 100);
    EXPECT_EQ(layout.substr(layout.find("114:1 ")),
              "114:1 190:1 190:1 191:1 200:4 201:1 200:4 201:1 300:4 301:1 400:1 401:4 401:4 " + mesh +
                  "400:1 " + mesh);
}

TEST(SceneDocument, KeepsEveryField) {
    Scene scene;
    FillScene(scene);
    const Buffer flat = scene.Flat();
    EXPECT_EQ(scene.Write(nullptr, 0), flat.size());
    const auto read = ReadScene(flat);
    EXPECT_EQ(read->environment, scene.environment);

    ASSERT_EQ(read->materials.size(), scene.materials.size());
    for (std::size_t i = 0; i < scene.materials.size(); ++i) {
        EXPECT_EQ(read->materials[i]->name, scene.materials[i]->name);
        EXPECT_EQ(static_cast<const MaterialSettings&>(*read->materials[i]),
                  static_cast<const MaterialSettings&>(*scene.materials[i]));
    }
    const std::vector<SceneModel*> before = scene.Flatten(), after = read->Flatten();
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        SCOPED_TRACE(i);
        SceneModel& a = *before[i];
        SceneModel& b = *after[i];
        ASSERT_EQ(a.bindings.size(), b.bindings.size());
        for (std::size_t j = 0; j < a.bindings.size(); ++j) {
            EXPECT_EQ(b.bindings[j].material, read->materials[a.bindings[j].index].get());
            EXPECT_EQ(b.bindings[j].index, a.bindings[j].index);
            EXPECT_EQ(b.bindings[j].enabled, a.bindings[j].enabled);
        }
        const std::vector<MaterialBinding> bindings = b.bindings;
        b.bindings = a.bindings;
        EXPECT_EQ(static_cast<const ModelSettings&>(a), static_cast<const ModelSettings&>(b));
        b.bindings = bindings;
        EXPECT_EQ(a.type, b.type);
        EXPECT_EQ(a.children.size(), b.children.size());
        EXPECT_EQ(a.depth, b.depth);
        EXPECT_TRUE(b.needsLoad);
        ASSERT_EQ(a.meshes.size(), b.meshes.size());
        for (std::size_t j = 0; j < a.meshes.size(); ++j) {
            EXPECT_EQ(static_cast<const MeshSettings&>(*a.meshes[j]),
                      static_cast<const MeshSettings&>(*b.meshes[j]));
            EXPECT_EQ(b.meshes[j]->owner, &b);
        }
    }
    EXPECT_TRUE(read->HasContent(flat));
    read->models[1]->playbackSpeed += 1;
    EXPECT_FALSE(read->HasContent(flat));
    EXPECT_FALSE(read->HasContent(Bytes(flat).first(flat.size() - 1)));
}

TEST(SceneDocument, PutsEachTagIntoItsField) {
    using Model = const SceneModel&;
    const struct {
        std::uint16_t tag;
        Buffer payload;
        std::function<bool(Model)> check;
    } cases[] = {
        {101, Zero("a/b.obj"), [](Model m) { return m.path == "a/b.obj"; }},
        {102, Zero("Bunny"), [](Model m) { return m.name == "Bunny"; }},
        {102, Text("cut"), [](Model m) { return m.name == "cut"; }},
        {102, Zero("a") + Zero("b"), [](Model m) { return m.name == "a"; }},
        {103, U32(5), [](Model m) { return m.type == ModelType::Sequence; }},
        {104, U32(240), [](Model m) { return m.frameCount == 240; }},
        {105, F32({2}), [](Model m) { return m.startFrame == 2; }},
        {106, F32({3}), [](Model m) { return m.endFrame == 3; }},
        {107, F32({4}), [](Model m) { return m.frameOffset == 4; }},
        {108, F32({5}), [](Model m) { return m.playbackSpeed == 5; }},
        {109, U8({1}), [](Model m) { return m.hasRig && !m.hasBakedAnimation; }},
        {112, U8({1}), [](Model m) { return Is(m.groups, true, false, true, false, false); }},
        {110, U8({0}), [](Model m) { return Is(m.groups, false, false, false, false, false); }},
        {115, U8({1}), [](Model m) { return m.hasBakedAnimation && !m.hasRig; }},
        {116, U32(1), [](Model m) { return m.reflectMode == ReflectMode::MirrorSurface; }},
        {117, U8({1}), [](Model m) { return m.disableEnvironment && !m.renderSelf; }},
        {118, U8({1}), [](Model m) { return m.renderSelf && !m.disableEnvironment; }},
        {119, F32({1, 2, 3}), [](Model m) { return Is(m.reflectOffset, 1, 2, 3); }},
        {320, F32({4, 5}), [](Model m) { return Is(m.reflectRotation, 4, 5); }},
        {192, U32(2), [](Model m) { return m.mirrorClip == MirrorClip::BelowPlane; }},
        {121, U8({1}), [](Model m) { return m.expanded; }},
        {122, U8({1}), [](Model m) { return m.normalizeSize; }},
        {123, U32(7), [](Model m) { return m.alignment == Alignment::Right; }},
        {125, U32(9), [](Model m) { return m.customPath == 9; }},
        {126, U32(1), [](Model m) { return m.replicatorSource; }},
        {127, U32(8), [](Model m) { return m.textureMapping == TextureMapping::BoxRepeatPreserveAspect; }},
        {129, U8({1}), [](Model m) { return m.invertNormals; }},
        {140, F32({1, 2, 3, 4}), [](Model m) { return Is(m.uvOffset, 1, 2) && Is(m.uvRepeat, 3, 4); }},
        {141, F32({10, 20, 30}), [](Model m) { return Is(m.orientation, 10, 20, 30); }},
        {143, U32(10), [](Model m) { return m.auxChannel == 10; }},
        {144, F32({-2}), [](Model m) { return m.auxRatio == -2; }},
        {157, F32({7, 8, 9}), [](Model m) { return Is(m.position, 7, 8, 9); }},
        {150, F32({60}), [](Model m) { return m.normalThreshold == 60; }},
        {151, U8({0, 1, 0}), [](Model m) { return Is(m.flip, false, true, false); }},
        {195, U8({1, 0, 0}), [](Model m) { return Is(m.symmetry, true, false, false); }},
        {153, U32(6), [](Model m) { return m.subdivision == 6; }},
        {156, U8({1}), [](Model m) { return m.optimizeMesh; }},
        {193, U8({0}), [](Model m) { return !m.enableDeformation && m.enableMultiObject; }},
        {194, U8({0}), [](Model m) { return !m.enableMultiObject && m.enableDeformation; }},
        {131, U32(1), [](Model m) { return m.offsetMode == OffsetMode::Relative; }},
        {132, U8({0}), [](Model m) { return !m.separateObjects; }},
        {133, F32({9}), [](Model m) { return m.bevelScale == 9; }},
        {135, U32(4), [](Model m) { return m.pathResolution == PathResolution::Extreme; }},
        {136, U32(4), [](Model m) { return m.bevelCopies == 4; }},
        {137, U8({0}), [](Model m) { return !m.autoPathOrientation && !m.autoPresetScale; }},
        {138, U8({1}), [](Model m) { return m.autoPresetScale && m.autoPathOrientation; }},
        {181, U32(0), [](Model m) { return m.separationMode == SeparationMode::ByBoundingBox; }},
        {183, U32(12), [](Model m) { return m.depthSegments == 12; }},
        {160, U32(5), [](Model m) { return m.currentBevel == 5; }},
        {210, U32(8), [](Model m) { return m.primitive == PrimitiveKind::Capsule; }},
        {230, F32({2}), [](Model m) { return m.primitiveParameters.box.chamfer == 2; }},
        {241, F32({2, 3, 4}), [](Model m) { return Is(m.primitiveParameters.box.sizeSegments, 2, 3, 4); }},
        {233, F32({5, 6}), [](Model m) { return Is(m.primitiveParameters.plane.segments, 5, 6); }},
        {233, F32({5}), [](Model m) { return Is(m.primitiveParameters.plane.segments, 5, 5); }},
        {233, F32({5, 6, 7}), [](Model m) { return Is(m.primitiveParameters.plane.segments, 5, 5); }},
        {242, F32({3}), [](Model m) { return m.primitiveParameters.tube.radius == 3; }},
        {264, F32({3}), [](Model m) { return m.primitiveParameters.cone.radius == 3; }},
        {261, F32({3}), [](Model m) { return m.primitiveParameters.cylinder.radius == 3; }},
        {246, F32({3}), [](Model m) { return m.primitiveParameters.capsule.radius == 3; }},
        {283, F32({45}), [](Model m) { return m.primitiveParameters.gear.teethAngle == 45; }},
        {190, U8({0}), [](Model m) { return m.meshVisible == std::vector<bool>{false}; }},
        {191, U8({0}), [](Model m) { return !m.enabled; }},
        {201, U8({0}), [](Model m) { return m.bindings.empty(); }},
        {301, U8({0}), [](Model m) { return !m.scaleLinked; }},
        {353, U64(0), [](Model m) { return m.storedPaths.empty(); }},
        {401, U32(1), [](Model m) { return m.meshes.empty(); }},
        {402, U8({1}), [](Model m) { return m.meshes.empty(); }},
        {159, U32(2), [](Model m) { return m.edgeMode == EdgeMode::Old; }},
        {159, U32(3), [](Model m) { return m.edgeMode == EdgeMode::Disconnected; }},
        // Short payloads are filled up with zeros, longer ones are cut.
        {141, F32({10, 20}), [](Model m) { return Is(m.orientation, 10, 20, 0); }},
        {104, U8({3}), [](Model m) { return m.frameCount == 3; }},
        {108, {}, [](Model m) { return m.playbackSpeed == 0; }},
        {104, U64(0xFFFFFFFF00000002u), [](Model m) { return m.frameCount == 2; }},
        {120, U8({1}), [](Model) { return true; }}, // no such tag
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tag);
        const auto scene = ReadModel(4, Narrow(c.tag, c.payload));
        ASSERT_EQ(scene->models.size(), 1u);
        EXPECT_TRUE(c.check(*scene->models[0]));
    }
}

TEST(SceneDocument, FollowsTheRulesOfOldVersions) {
    using Model = const SceneModel&;
    const Buffer anchor = Narrow(142, F32({1, 0, -3}));
    const struct {
        const char* name;
        int version;
        Buffer chunks;
        std::function<bool(Model)> check;
    } cases[] = {
        {"one factor", 2, Narrow(124, F32({2})), [](Model m) { return Is(m.scale, 2, 2, 2); }},
        {"three factors", 3, Narrow(124, F32({2, 3, 4})), [](Model m) { return Is(m.scale, 2, 3, 4); }},
        {"an anchor becomes a position", 2, Narrow(124, F32({2})) + anchor,
         [](Model m) { return Is(m.anchor, 0, 0, 0) && Is(m.position, -2, 0, 6); }},
        {"small offsets vanish", 1, Narrow(142, F32({0.0009f, -0.0009f, 0.002f})),
         [](Model m) { return Is(m.position, 0, 0, -0.002f); }},
        {"an anchor", 3, Narrow(124, F32({2, 2, 2})) + anchor,
         [](Model m) { return Is(m.anchor, 1, 0, -3) && Is(m.position, 0, 0, 0); }},
        {"an unknown magic counts as old", 5, Narrow(124, F32({2, 3, 4})),
         [](Model m) { return Is(m.scale, 2, 2, 2); }},
        {"automatic normals", 3, Narrow(128, U8({1})),
         [](Model m) { return m.normalMode == NormalMode::Auto; }},
        {"dynamic normals", 3, Narrow(158, U8({1})),
         [](Model m) { return m.normalMode == NormalMode::Dynamic; }},
        {"the first flag leaves a mode", 3, Narrow(158, U8({1})) + Narrow(128, U8({1})),
         [](Model m) { return m.normalMode == NormalMode::Dynamic; }},
        {"no flag leaves a mode", 3, Narrow(128, U8({1})) + Narrow(158, U8({0})),
         [](Model m) { return m.normalMode == NormalMode::Auto; }},
        {"only a 1 counts", 3, Narrow(128, U8({2})),
         [](Model m) { return m.normalMode == NormalMode::FromModel; }},
        {"the mode itself", 4, Narrow(128, U32(2)),
         [](Model m) { return m.normalMode == NormalMode::Dynamic; }},
        {"the old flag is ignored", 4, Narrow(158, U8({1})),
         [](Model m) { return m.normalMode == NormalMode::FromModel; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto scene = ReadModel(c.version, c.chunks);
        ASSERT_EQ(scene->models.size(), 1u);
        EXPECT_TRUE(c.check(*scene->models[0]));
    }
}

TEST(SceneDocument, SendsTagsToTheRecordThatWasStartedLast) {
    const Buffer document =
        Magic(4) + Narrow(501, Zero("nobody")) + Narrow(102, Zero("nobody")) + // neither is there yet
        Narrow(500, U8({0})) + Narrow(501, Zero("first")) +                    //
        Narrow(500, U32(77)) + Narrow(501, Zero("second")) +                   //
        Narrow(100, U8({0})) + Narrow(102, Zero("a")) + Narrow(200, U32(1)) +  //
        Narrow(200, U32(2)) + Narrow(200, U32(0xFFFFFFFF)) +
        Narrow(201, U8({0})) +                                             // of the one that was dropped
        Narrow(200, U32(0)) + Narrow(201, U8({0})) + Narrow(700, U32(0)) + //
        Narrow(100, U8({0})) + Narrow(501, Zero("renamed")) + Narrow(102, Zero("b")) + //
        Narrow(160, U32(1)) + Narrow(161, F32({8})) + Narrow(160, U32(9)) + Narrow(161, F32({9}));
    const auto scene = ReadScene(document);
    ASSERT_EQ(scene->materials.size(), 2u);
    EXPECT_EQ(scene->materials[0]->name, "first");
    EXPECT_EQ(scene->materials[1]->name, "renamed");
    ASSERT_EQ(scene->models.size(), 2u);
    const SceneModel& a = *scene->models[0];
    ASSERT_EQ(a.bindings.size(), 2u) << "an index that is not there binds nothing";
    EXPECT_EQ(a.bindings[0].material, scene->materials[1].get());
    EXPECT_TRUE(a.bindings[0].enabled);
    EXPECT_FALSE(a.bindings[1].enabled);
    EXPECT_EQ(a.bindings[1].material, scene->materials[0].get());
    const SceneModel& b = *scene->models[1];
    EXPECT_EQ(b.name, "b");
    EXPECT_EQ(b.bevels[1].extrude, 8);
    for (const std::size_t i : {0u, 2u, 3u, 4u}) EXPECT_EQ(b.bevels[i], BevelSettings{});
}

TEST(SceneDocument, SurvivesDamage) {
    Scene full, scene;
    FillScene(full);
    scene.materials = full.materials;
    scene.materials.resize(1);
    scene.models = {full.models[5], full.models.back()}; // stored paths, and a folder in a folder
    const Buffer flat = scene.Flat();
    const std::size_t models = scene.Flatten().size();
    std::size_t most = 0, previous = 0;
    ForEachTruncation(flat, [&](Bytes part) {
        Scene read;
        (void)read.Read(part);
        const std::size_t count = read.Flatten().size();
        EXPECT_GE(count, previous) << "longer parts hold more";
        previous = count;
        most = std::max(most, count);
    });
    EXPECT_EQ(most, models);
    const auto longer = ReadScene(flat + U8({1}));
    EXPECT_TRUE(longer->HasContent(flat));

    // Every byte inverted, one after the other.
    Buffer damaged = flat;
    for (std::size_t i = 4; i < damaged.size(); i += 2) {
        damaged[i] = ~damaged[i];
        Scene read;
        (void)read.Read(damaged);
        const Buffer again = read.Flat();
        Scene second;
        (void)second.Read(again);
        EXPECT_EQ(second.Flat(), again) << "byte " << i;
        damaged[i] = ~damaged[i];
    }
}

TEST(SceneDocument, BoundsWhatAHostileDocumentMakes) {
    Buffer document = Magic(4);
    for (int i = 0; i < 300'000; ++i) document += Narrow(i % 2 == 0 ? 100 : 500, {});
    const auto scene = ReadScene(document);
    EXPECT_LE(scene->models.size() + scene->materials.size(), 200'000u);

    Buffer nested = Magic(4);
    for (std::uint32_t i = 0; i < 50'000; ++i)
        nested += Narrow(100, {}) + Narrow(103, U32(8)) + Narrow(300, U32(i));
    const auto deep = ReadScene(nested);
    ASSERT_EQ(deep->models.size(), 1u);
    std::uint32_t deepest = 0;
    for (const SceneModel* model : deep->Flatten()) deepest = std::max(deepest, model->depth);
    EXPECT_EQ(deepest, 1000u);
    EXPECT_EQ(deep->Flatten().size(), 50'000u);
}

TEST(SceneDocument, CutsTextsThatANarrowChunkCannotHold) {
    Scene scene;
    scene.models.push_back(Ref<SceneModel>::Make());
    scene.models[0]->path = std::string(65'533, 'x') + "\xC3\xA4" + "tail"; // the cut falls into a character
    scene.models[0]->name = "behind";
    const auto read = ReadScene(scene.Flat());
    EXPECT_EQ(read->models[0]->path, std::string(65'533, 'x'));
    EXPECT_EQ(read->models[0]->name, "behind");
}

TEST(SceneDocument, IsDescribedByItsPage) {
    std::ifstream page(std::string(VELORIN_SOURCE_DIR) + "/docs/formats/scene.md");
    std::ifstream materials(std::string(VELORIN_SOURCE_DIR) + "/docs/formats/material-preset.md");
    std::stringstream text;
    text << page.rdbuf() << materials.rdbuf();
    const std::string words = text.str();
    for (const FieldTable* table :
         {&kModelFields, &kBevelFields, &kMeshFields, &kPathPointFields, &kMaterialFields, &kChannelFields})
        for (const Field& field : table->rows) {
            if (field.tag == 0) continue;
            const std::string row = "| " + std::to_string(field.tag) + " |";
            EXPECT_NE(words.find(row), std::string::npos) << row;
            EXPECT_NE(words.find(field.name), std::string::npos) << field.name;
        }
}
