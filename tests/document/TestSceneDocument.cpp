#include "core/document/ChunkFile.h"
#include "core/document/Scene.h"
#include "core/document/SceneJson.h"

#include "FormatChecks.h"
#include "document/DocumentSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <map>
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
    EXPECT_EQ(LayoutOf(Scene().Flat(), kSceneForm),
              "50:47 51:1 52:4 53:4 54:4 55:16 56:4 57:4 58:4 59:1 63:12 62:8 ");
    using T = TextureChannel;
    const auto fields =
        Fields<T>([](const Buffer& chunk) { return ReadScene(Magic(4) + chunk)->environment; });
    fields.Expect(Tag(50, &T::path), Tag(52, &T::amount), Tag(53, &T::gamma), Tag(54, &T::customLayer),
                  Tag(55, &T::uvOffset), Tag(56, &T::contrast), Tag(57, &T::saturation),
                  Tag(58, &T::brightness), Tag(59, &T::invert));
    const auto scene = ReadScene(Magic(4) + Narrow(51, U8({0})) + Narrow(63, F32({0.1f, 0.6f, 0.9f})) +
                                 Narrow(62, F32({0.25f, 2})));
    EXPECT_FALSE(scene->environment.enabled);
    EXPECT_EQ(scene->environment.inputLevels, (std::array<float, 3>{0.1f, 0.6f, 0.9f}));
    EXPECT_EQ(scene->environment.outputLevels, (std::array<float, 2>{0.25f, 2}));
    const auto old = ReadScene(Magic(4) + Narrow(61, F32({0.1f, 0.9f, 0.6f})));
    EXPECT_EQ(old->environment.inputLevels, scene->environment.inputLevels);
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
    // Lists stand between the fields of the tail.
    Scene scene;
    scene.models.push_back(Ref<SceneModel>::Make());
    SceneModel& model = *scene.models[0];
    model.meshVisible = {true, false};
    model.bindings.resize(2);
    model.meshes = {Ref<SceneMesh>::Make(), Ref<SceneMesh>::Make()};
    model.meshes[0]->parts = {4, 5};
    const std::string mesh = "402:1 403:12 404:12 405:12 406:1 407:4 408:4 410:4 411:12 412:4 413:4 416:1 ";
    EXPECT_EQ(LayoutOf(scene.Flat(), kSceneForm, 100),
              std::string(kHead) +
                  "110:1 111:1 112:1 113:1 114:1 190:1 190:1 191:1 200:4 201:1 200:4 201:1 300:4 301:1 " +
                  "400:1 401:4 401:4 " + mesh + "400:1 " + mesh);
    // A binding without a material says the first; a flag without a binding is of nothing.
    scene.materials.push_back(Ref<SceneMaterial>::Make());
    EXPECT_EQ(ReadScene(scene.Flat())->models[0]->bindings.size(), 2u);
    SceneModel unbound;
    EXPECT_TRUE(unbound.ReadChunk(201, U8({0}), 4) && unbound.bindings.empty());
}

TEST(SceneDocument, KeepsEveryField) {
    Scene scene;
    FillScene(scene);
    const Buffer flat = scene.Flat();
    EXPECT_EQ(scene.Write(nullptr, 0), flat.size());
    const auto read = ReadScene(flat);
    EXPECT_EQ(SceneToJsonText(*read, true), SceneToJsonText(scene, true));
    for (const SceneModel* model : read->Flatten()) {
        EXPECT_TRUE(model->needsLoad);
        for (const MaterialBinding& binding : model->bindings)
            EXPECT_EQ(binding.material, read->materials[binding.index].get());
        for (const Ref<SceneMesh>& mesh : model->meshes) EXPECT_EQ(mesh->owner, model);
    }
    EXPECT_TRUE(read->HasContent(flat));
    read->models[1]->playbackSpeed += 1;
    EXPECT_FALSE(read->HasContent(flat));
    EXPECT_FALSE(read->HasContent(Bytes(flat).first(flat.size() - 1)));
}

TEST(SceneDocument, PutsEachTagIntoItsField) {
    using M = SceneModel;
    const auto fields = Fields<M>([](const Buffer& chunk) { return M(*ReadModel(4, chunk)->models.at(0)); });
    fields.Expect(Tag(101, &M::path), Tag(102, &M::name), Tag(103, &M::type), Tag(116, &M::reflectMode),
                  Tag(192, &M::mirrorClip), Tag(123, &M::alignment), Tag(127, &M::textureMapping),
                  Tag(128, &M::normalMode), Tag(159, &M::edgeMode), Tag(131, &M::offsetMode),
                  Tag(135, &M::pathResolution), Tag(181, &M::separationMode), Tag(210, &M::primitive),
                  Tag(104, &M::frameCount), Tag(125, &M::customPath), Tag(136, &M::bevelCopies),
                  Tag(143, &M::auxChannel), Tag(153, &M::subdivision), Tag(183, &M::depthSegments),
                  Tag(109, &M::hasRig), Tag(115, &M::hasBakedAnimation), Tag(117, &M::disableEnvironment),
                  Tag(118, &M::renderSelf), Tag(121, &M::expanded), Tag(122, &M::normalizeSize),
                  Tag(126, &M::replicatorSource), Tag(129, &M::invertNormals), Tag(132, &M::separateObjects),
                  Tag(137, &M::autoPathOrientation), Tag(138, &M::autoPresetScale),
                  Tag(139, &M::reversePathWinding), Tag(156, &M::optimizeMesh), Tag(180, &M::fixHoles),
                  Tag(184, &M::realWorldScale), Tag(191, &M::enabled), Tag(193, &M::enableDeformation),
                  Tag(194, &M::enableMultiObject), Tag(301, &M::scaleLinked), Tag(350, &M::storedPathClosed),
                  Tag(105, &M::startFrame), Tag(106, &M::endFrame), Tag(107, &M::frameOffset),
                  Tag(108, &M::playbackSpeed), Tag(133, &M::bevelScale), Tag(134, &M::pathExpand),
                  Tag(144, &M::auxRatio), Tag(150, &M::normalThreshold), Tag(182, &M::spikeFilter),
                  Tag(351, &M::storedPathScale), Tag(140, &M::uvOffset), Tag(320, &M::reflectRotation),
                  Tag(119, &M::reflectOffset), Tag(124, &M::scale), Tag(141, &M::orientation),
                  Tag(142, &M::anchor), Tag(157, &M::position), Tag(151, &M::flip), Tag(195, &M::symmetry));
}

// Records inside a model; each stands behind the tag that starts it.
TEST(SceneDocument, PutsEachTagIntoItsElement) {
    const auto model = [](const Buffer& chunks) { return SceneModel(*ReadModel(4, chunks)->models.at(0)); };
    using B = BevelSettings;
    const auto bevel =
        Fields<B>([&](const Buffer& chunk) { return model(Narrow(160, U32(3)) + chunk).bevels[3]; });
    bevel.Expect(Tag(168, &B::bevelBackside), Tag(169, &B::useLayerAsUV), Tag(170, &B::outlineEnable),
                 Tag(161, &B::extrude), Tag(162, &B::zOffset), Tag(163, &B::expandEdges),
                 Tag(164, &B::bevelSize), Tag(165, &B::bevelDepth), Tag(166, &B::bevelCurve),
                 Tag(167, &B::bevelSegments), Tag(171, &B::outlineWidth), Tag(172, &B::insideExpand),
                 Tag(173, &B::insideBevel), Tag(174, &B::outsideBevel));
    using N = MeshSettings;
    const auto mesh = Fields<N>(
        [&](const Buffer& chunk) { return N(*model(Narrow(400, Zero("m")) + chunk).meshes.at(0)); });
    mesh.Expect(Tag(416, &N::meshFlag), Tag(402, &N::expanded), Tag(406, &N::scaleLinked),
                Tag(407, &N::auxChannel), Tag(408, &N::auxRatio), Tag(410, &N::reflectMode),
                Tag(412, &N::deformation), Tag(413, &N::multiObject), Tag(403, &N::position),
                Tag(404, &N::orientation), Tag(405, &N::scale), Tag(411, &N::anchor));
    using P = PathPoint;
    const auto point = Fields<P>([&](const Buffer& chunk) {
        return model(Narrow(352, U64(0)) + Narrow(353, U64(0)) + chunk).storedPaths.at(0).at(0);
    });
    point.Expect(Tag(354, &P::position), Tag(355, &P::tangentIn), Tag(356, &P::tangentOut));
}

TEST(SceneDocument, PutsEachTagIntoItsPrimitive) {
    using All = PrimitiveParameters;
    const auto block = []<class T>(T All::*member) {
        return Fields<T>([member](const Buffer& chunk) {
            return ReadModel(4, chunk)->models.at(0)->primitiveParameters.*member;
        });
    };
    using Box = BoxParameters;
    block(&All::box).Expect(Tag(211, &Box::size), Tag(241, &Box::sizeSegments), Tag(230, &Box::chamfer),
                            Tag(231, &Box::chamferSegments), Tag(232, &Box::noSmoothing));
    using Sphere = SphereParameters;
    block(&All::sphere)
        .Expect(Tag(227, &Sphere::segments), Tag(228, &Sphere::diameter), Tag(229, &Sphere::noSmoothing));
    using Cylinder = CylinderParameters;
    block(&All::cylinder)
        .Expect(Tag(215, &Cylinder::sides), Tag(216, &Cylinder::height), Tag(235, &Cylinder::heightSegments),
                Tag(236, &Cylinder::capSegments), Tag(261, &Cylinder::radius), Tag(262, &Cylinder::taper),
                Tag(265, &Cylinder::chamfer), Tag(266, &Cylinder::chamferSegments),
                Tag(217, &Cylinder::noSmoothing));
    using Tube = TubeParameters;
    block(&All::tube)
        .Expect(Tag(218, &Tube::sides), Tag(219, &Tube::internalRadius), Tag(220, &Tube::height),
                Tag(237, &Tube::heightSegments), Tag(238, &Tube::capSegments), Tag(242, &Tube::radius),
                Tag(243, &Tube::chamfer), Tag(263, &Tube::chamferSegments), Tag(221, &Tube::noSmoothing));
    using Torus = TorusParameters;
    block(&All::torus)
        .Expect(Tag(222, &Torus::ringSegments), Tag(223, &Torus::ringSides), Tag(224, &Torus::ringRadius1),
                Tag(225, &Torus::ringRadius2), Tag(291, &Torus::twists), Tag(226, &Torus::noSmoothing));
    using Cone = ConeParameters;
    block(&All::cone)
        .Expect(Tag(212, &Cone::sides), Tag(213, &Cone::height), Tag(239, &Cone::heightSegments),
                Tag(240, &Cone::capSegments), Tag(264, &Cone::radius), Tag(214, &Cone::noSmoothing));
    using Plane = PlaneParameters;
    block(&All::plane).Expect(Tag(233, &Plane::segments), Tag(234, &Plane::size), Tag(292, &Plane::twoSided));
    using Capsule = CapsuleParameters;
    block(&All::capsule)
        .Expect(Tag(244, &Capsule::sides), Tag(245, &Capsule::height), Tag(246, &Capsule::radius),
                Tag(248, &Capsule::heightSegments), Tag(249, &Capsule::capSegments),
                Tag(260, &Capsule::capRoundness), Tag(247, &Capsule::noSmoothing));
    using Star = StarParameters;
    block(&All::star)
        .Expect(Tag(267, &Star::bevelDepth), Tag(268, &Star::extrude), Tag(269, &Star::armLength),
                Tag(270, &Star::arms), Tag(272, &Star::facesSegments), Tag(273, &Star::sideSegments),
                Tag(274, &Star::extrudeSegments), Tag(275, &Star::armProportion),
                Tag(271, &Star::noSmoothing));
    using Gear = GearParameters;
    block(&All::gear)
        .Expect(Tag(276, &Gear::edgeTaper), Tag(278, &Gear::gearDepth), Tag(279, &Gear::reserved1),
                Tag(280, &Gear::gearHoleRadius), Tag(281, &Gear::teethHorizontalSegments),
                Tag(282, &Gear::reserved2), Tag(283, &Gear::teethAngle), Tag(284, &Gear::teeth),
                Tag(285, &Gear::teethWidth), Tag(286, &Gear::teethPitch), Tag(287, &Gear::teethDepthSegments),
                Tag(288, &Gear::teethTaperSegments), Tag(289, &Gear::teethHeight),
                Tag(290, &Gear::teethSocketSegments), Tag(277, &Gear::noSmoothing));
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
        {"an unknown edge mode", 4, Narrow(159, U32(1)) + Narrow(159, U32(3)),
         [](Model m) { return m.edgeMode == EdgeMode::Disconnected; }},
        {"one number of segments", 4, Narrow(233, F32({5})),
         [](Model m) { return Is(m.primitiveParameters.plane.segments, 5, 5); }},
        {"too many numbers of segments", 4, Narrow(233, F32({5, 6, 7})),
         [](Model m) { return Is(m.primitiveParameters.plane.segments, 5, 5); }},
        {"groups", 4, Narrow(112, U8({1})) + Narrow(110, U8({0})),
         [](Model m) { return Is(m.groups, false, false, true, false, false); }},
        {"repeats behind offsets", 4, Narrow(140, F32({1, 2, 3, 4})),
         [](Model m) { return Is(m.uvRepeat, 3, 4); }},
        {"a text ends at its zero or its chunk", 4,
         Narrow(101, Text("cut")) + Narrow(102, Zero("a") + Zero("b")),
         [](Model m) { return m.path == "cut" && m.name == "a"; }},
        {"short payloads are filled up, longer ones cut", 4,
         Narrow(141, F32({10, 20})) + Narrow(108, {}) + Narrow(104, U64(0xFFFFFFFF00000002u)),
         [](Model m) { return Is(m.orientation, 10, 20, 0) && m.playbackSpeed == 0 && m.frameCount == 2; }},
        {"elements of nothing", 4,
         Narrow(201, U8({0})) + Narrow(353, U64(0)) + Narrow(354, F32({1, 2})) + Narrow(401, U32(1)) +
             Narrow(402, U8({1})),
         [](Model m) { return m.bindings.empty() && m.storedPaths.empty() && m.meshes.empty(); }},
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
        Narrow(160, U32(1)) + Narrow(161, F32({8})) + Narrow(160, U32(5)) + Narrow(161, F32({9}));
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
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(scene->Flat().empty());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30))
        << "materials without a number";

    Buffer meshes = Magic(4) + Narrow(100, {});
    for (std::size_t i = 0; i < kMostDocumentMeshes; ++i) meshes += Narrow(400, {});
    meshes += Narrow(400, Zero("no more")) + Narrow(416, U8({9})) + Narrow(102, Zero("a"));
    const auto crowd = ReadScene(meshes);
    EXPECT_EQ(crowd->models[0]->meshes.size(), kMostDocumentMeshes);
    EXPECT_EQ(crowd->models[0]->meshes.back()->meshFlag, 0);
    EXPECT_EQ(crowd->models[0]->name, "a");

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

// Tag, width and name of every field stand in one row of a page; what a row says of the tag is checked above.
TEST(SceneDocument, IsDescribedByItsPages) {
    std::stringstream text;
    for (const char* page : {"scene", "material-preset"})
        text << std::ifstream(std::string(VELORIN_SOURCE_DIR) + "/docs/formats/" + page + ".md").rdbuf();
    const auto payload = [](FieldKind kind) -> std::string {
        switch (kind) {
        case FieldKind::Text:
            return "str";
        case FieldKind::Bool:
        case FieldKind::Byte:
            return "u8";
        case FieldKind::F32:
            return "f32";
        case FieldKind::F32x3:
            return "3 f32";
        default:
            return "";
        }
    };
    std::map<std::string, std::string> rows;
    for (std::string line; std::getline(text, line);)
        if (line.starts_with("| ")) rows[line.substr(2, line.find(' ', 2) - 2)] += line;
    for (const FieldTable* table :
         {&kModelFields, &kBevelFields, &kMeshFields, &kPathPointFields, &kMaterialFields, &kChannelFields})
        for (const Field& field : table->rows) {
            if (field.tag == 0 || IsList(field.kind)) continue;
            const std::string& row = rows[std::to_string(field.tag)];
            EXPECT_NE(row.find(field.name), std::string::npos) << field.tag << ' ' << field.name;
            EXPECT_NE(row.find(payload(field.kind)), std::string::npos) << row;
        }
}
