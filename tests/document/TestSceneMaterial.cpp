#include "core/document/ChunkFile.h"
#include "core/document/Scene.h"

#include "FormatChecks.h"
#include "document/DocumentSamples.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <functional>

using namespace velorin;
using namespace velorin::test;

namespace {

Buffer Written(const SceneMaterial& material, const Scene* scene, bool withName) {
    ChunkFile measure(nullptr, 0, kMaterialPresetForm);
    material.WriteChunks(measure, scene, withName);
    Buffer buffer(static_cast<std::size_t>(measure.size()));
    ChunkFile write(buffer.data(), buffer.size(), kMaterialPresetForm);
    material.WriteChunks(write, scene, withName);
    EXPECT_EQ(write.size(), buffer.size());
    return buffer;
}

Ref<SceneMaterial> ReadFrom(const Buffer& chunks) {
    Ref<SceneMaterial> material = Ref<SceneMaterial>::Make();
    EXPECT_TRUE(material->ReadPresetBytes(Text("ZQP") + U8({2}) + chunks));
    return material;
}

} // namespace

TEST(SceneMaterial, WritesItsTagsInOrder) {
    // Displacement comes last, without brightness and invert.
    const std::string channel =
        "700:4 701:1 702:1 703:4 704:4 705:4 706:16 707:4 708:4 709:4 710:1 714:12 713:8 ";
    std::string expected =
        "502:4 503:4 510:4 511:4 512:4 513:4 514:4 515:4 516:4 517:4 518:4 519:1 520:4 521:1 522:4 "
        "530:4 531:4 532:4 533:4 534:4 540:4 541:4 542:4 543:4 544:4 545:4 550:4 551:4 552:4 553:4 554:1 "
        "560:1 561:1 562:1 563:1 564:1 571:4 572:1 573:1 585:1 584:1 575:1 580:4 581:4 570:1 583:1 586:1 "
        "587:1 "
        "590:4 591:4 592:4 593:4 594:4 595:1 596:4 600:4 601:4 602:4 603:4 620:1 621:4 622:4 623:4 624:4 "
        "625:4 "
        "626:1 627:4 628:4 650:4 651:4 652:4 653:4 654:4 655:4 656:4 657:1 658:4 659:4 660:4 661:4 662:1 ";
    for (int i = 0; i < 7; ++i) expected += channel;
    expected += "700:4 701:1 702:1 703:4 704:4 705:4 706:16 707:4 708:4 714:12 713:8 ";
    const SceneMaterial material;
    EXPECT_EQ(LayoutOf(Written(material, nullptr, false), kMaterialPresetForm), expected);
    EXPECT_EQ(LayoutOf(Written(material, nullptr, true), kMaterialPresetForm), "501:8 " + expected);
}

TEST(SceneMaterial, StoresItsPlaceInTheScene) {
    Scene scene;
    for (int i = 0; i < 3; ++i) scene.materials.push_back(Ref<SceneMaterial>::Make());
    const auto place = [](const Buffer& document) {
        ChunkFile file(document, kMaterialPresetForm);
        EXPECT_EQ(file.NextChunk(), 502u);
        return Buffer(file.Payload().begin(), file.Payload().end());
    };
    EXPECT_EQ(place(Written(*scene.materials[2], &scene, false)), U32(2));
    scene.materials[2]->index = 0; // an old place does not count
    EXPECT_EQ(place(Written(*scene.materials[2], &scene, false)), U32(2));
    EXPECT_EQ(place(Written(*scene.materials[2], nullptr, false)), U32(0xFFFFFFFF));
    EXPECT_EQ(place(Written(SceneMaterial(), &scene, false)), U32(0xFFFFFFFF));
}

TEST(SceneMaterial, PutsEachTagIntoItsField) {
    using Material = const SceneMaterial&;
    const Buffer tint = U8({1, 2, 3, 4});
    const Colour colour{1, 2, 3, 4};
    const struct {
        std::uint16_t tag;
        Buffer payload;
        std::function<bool(Material)> check;
    } cases[] = {
        {501, Zero("Glaze"), [](Material m) { return m.name == "Glaze"; }},
        {502, U32(4), [](Material m) { return m.index == 4; }},
        {503, U32(1), [](Material m) { return m.type == MaterialType::Physical; }},
        {510, tint, [&](Material m) { return m.diffuseColor == colour; }},
        {517, tint, [&](Material m) { return m.specularColor == colour; }},
        {511, F32({0.5f}), [](Material m) { return m.smoothing == 0.5f; }},
        {512, F32({2}), [](Material m) { return m.diffuse == 2; }},
        {513, F32({2}), [](Material m) { return m.specular == 2; }},
        {514, F32({2}), [](Material m) { return m.specularShininess == 2; }},
        {522, F32({2}), [](Material m) { return m.specularSharpness == 2; }},
        {515, F32({2}), [](Material m) { return m.ambient == 2; }},
        {516, F32({2}), [](Material m) { return m.alphaThreshold == 2; }},
        {518, F32({0.25f}), [](Material m) { return m.forceOpacity == 0.25f; }},
        {518, F32({1.5f}), [](Material m) { return m.forceOpacity == 1; }},
        {518, F32({-2}), [](Material m) { return m.forceOpacity == -2; }},
        {520, U32(2), [](Material m) { return m.blendMode == MaterialBlend::Screen; }},
        {521, U8({0}), [](Material m) { return !m.twoSidedLighting && !m.drawBackfaces; }},
        {519, U8({1}), [](Material m) { return m.drawBackfaces && m.twoSidedLighting; }},
        {530, F32({2}), [](Material m) { return m.reflectionIntensity == 2; }},
        {531, F32({2}), [](Material m) { return m.reflectionFresnel == 2; }},
        {532, F32({2}), [](Material m) { return m.reflectionFresnelBias == 2; }},
        {533, tint, [&](Material m) { return m.reflectionTint == colour; }},
        {534, U32(2), [](Material m) { return m.reflectionBlend == ReflectionBlend::Add; }},
        {540, F32({2}), [](Material m) { return m.refractionIntensity == 2; }},
        {543, F32({2}), [](Material m) { return m.refractionIoR == 2; }},
        {545, U32(2), [](Material m) { return m.refractionBlend == ReflectionBlend::Add; }},
        {550, F32({2}), [](Material m) { return m.illuminationIntensity == 2; }},
        {553, tint, [&](Material m) { return m.illuminationColor == colour; }},
        {554, U8({1}), [](Material m) { return m.useDiffuseColor; }},
        {560, U8({1}), [](Material m) { return m.swapXY && !m.invertX; }},
        {561, U8({1}), [](Material m) { return m.invertX && !m.invertY; }},
        {562, U8({1}), [](Material m) { return m.invertY && !m.invertDepth; }},
        {563, U8({1}), [](Material m) { return m.invertDepth && !m.convertBump; }},
        {570, U8({1}), [](Material m) { return m.matteShadow; }},
        {582, U8({1}), [](Material m) { return m.matteShadow; }},
        {571, U32(2), [](Material m) { return m.aoMode == AoMode::ReceiveRayTraced; }},
        {572, U8({0}), [](Material m) { return !m.castShadow && m.receiveShadow; }},
        {573, U8({0}), [](Material m) { return !m.receiveShadow && m.castShadow; }},
        {574, U8({0}), [](Material m) { return !m.visibleToCamera && !m.castShadow; }},
        {574, U8({1}), [](Material m) { return m.visibleToCamera && m.castShadow; }},
        {575, U8({1}), [](Material m) { return m.legacyFlag; }},
        {580, F32({2}), [](Material m) { return m.aoAmount == 2; }},
        {581, F32({2}), [](Material m) { return m.glowAmount == 2; }},
        {583, U8({1}), [](Material m) { return m.matteReflection && !m.matteShadow; }},
        {584, U8({0}), [](Material m) { return !m.visibleToReflections && m.visibleToCamera; }},
        {585, U8({0}), [](Material m) { return !m.visibleToCamera && m.castShadow; }},
        {590, F32({2}), [](Material m) { return m.sssIntensity == 2; }},
        {592, F32({5}), [](Material m) { return m.absorptionFalloff == 5; }},
        {594, F32({5}), [](Material m) { return m.absorptionRange == 5; }},
        {600, U32(5), [](Material m) { return m.displaceA == 5; }},
        {601, U32(5), [](Material m) { return m.displaceC == 5; }},
        {602, U32(5), [](Material m) { return m.displaceB == 5; }},
        {603, U32(5), [](Material m) { return m.displaceD == 5; }},
        {622, tint, [&](Material m) { return m.wireColor == colour; }},
        {623, U32(1), [](Material m) { return m.wireFillMode == WireFillMode::LinesOnly; }},
        {625, U32(3), [](Material m) { return m.wireTransferMode == WireTransferMode::Multiply; }},
        {650, F32({5}), [](Material m) { return m.pbrAmbient == 5; }},
        {651, F32({5}), [](Material m) { return m.pbrDiffuse == 5; }},
        {652, tint, [&](Material m) { return m.pbrDiffuseColor == colour; }},
        {653, tint, [&](Material m) { return m.pbrReflectivityColor == colour; }},
        {658, tint, [&](Material m) { return m.pbrRefractionColor == colour; }},
        {654, F32({5}), [](Material m) { return m.pbrReflectivity == 5; }},
        {655, F32({5}), [](Material m) { return m.pbrGlossiness == 5; }},
        {656, F32({5}), [](Material m) { return m.pbrRefraction == 5; }},
        {657, U8({1}), [](Material m) { return m.pbrAffectRefraction && !m.energyConservation; }},
        {662, U8({1}), [](Material m) { return m.energyConservation && !m.pbrAffectRefraction; }},
        {510, U8({9}),
         [](Material m) {
             return m.diffuseColor == Colour{9, 0, 0, 0};
         }},
        {701, Zero("x.png"), [](Material m) { return m.channels[0].path.empty(); }}, // no channel is selected
        {663, U8({1}), [](Material) { return true; }},
        {101, Zero("x"), [](Material m) { return m.name == "Default"; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tag);
        EXPECT_TRUE(c.check(*ReadFrom(Narrow(c.tag, c.payload))));
    }
}

TEST(SceneMaterial, ReadsTexturesIntoTheSelectedChannel) {
    const auto material =
        ReadFrom(Narrow(700, U32(4)) + Narrow(701, Zero("n.png")) + Narrow(702, U8({1})) +
                 Narrow(703, F32({-3})) + Narrow(704, F32({1.5f})) + Narrow(705, U32(0xFFFFFFFF)) +
                 Narrow(706, F32({1, 2, 3, 4})) + Narrow(707, F32({0.1f})) + Narrow(708, F32({0.2f})) +
                 Narrow(709, F32({0.3f})) + Narrow(710, U8({1})) + Narrow(713, F32({0.25f, 0.75f})) +
                 Narrow(714, F32({0.1f, 0.4f, 0.9f})) + Narrow(700, U32(101)) + Narrow(701, Zero("d.png")) +
                 Narrow(712, F32({0.1f, 0.9f, 0.4f})) + Narrow(700, U32(7)) +
                 Narrow(701, Zero("nowhere.png")) + Narrow(700, U32(6)) + Narrow(701, Zero("r.png")));
    const TextureChannel& normal = material->channel(Channel::Normal);
    EXPECT_EQ(normal.path, "n.png");
    EXPECT_TRUE(normal.enabled && normal.invert);
    EXPECT_EQ(normal.amount, -3);
    EXPECT_EQ(normal.gamma, 1.5f);
    EXPECT_EQ(normal.customLayer, -1);
    EXPECT_EQ(normal.uvOffset, (Point2{1, 2}));
    EXPECT_EQ(normal.uvRepeat, (Point2{3, 4}));
    EXPECT_EQ(normal.contrast, 0.1f);
    EXPECT_EQ(normal.saturation, 0.2f);
    EXPECT_EQ(normal.brightness, 0.3f);
    EXPECT_EQ(normal.outputLevels, (std::array<float, 2>{0.25f, 0.75f}));
    EXPECT_EQ(normal.inputLevels, (std::array<float, 3>{0.1f, 0.4f, 0.9f}));
    EXPECT_EQ(material->displacement.path, "d.png");
    EXPECT_EQ(material->displacement.inputLevels, normal.inputLevels) << "the old order is low, high, mid";
    EXPECT_EQ(material->channel(Channel::Reflection).path, "r.png");
    for (const Channel empty :
         {Channel::Diffuse, Channel::Specular, Channel::Occlusion, Channel::Illumination})
        EXPECT_EQ(material->channel(empty).path, "");
}

TEST(SceneMaterial, StartsAsTheFormatSays) {
    const SceneMaterial fresh;
    EXPECT_EQ(fresh.type, MaterialType::Physical);
    EXPECT_EQ(fresh.reflectionBlend, ReflectionBlend::NormalClamp);
    EXPECT_EQ(fresh.wireColor, (Colour{1, 1, 1, 1}));
    const float gammas[] = {2.2f, 1, 2.2f, 2.2f, 1, 2.2f, 2.2f};
    for (std::size_t i = 0; i < kMaterialChannels; ++i) {
        EXPECT_EQ(fresh.channels[i].channel, static_cast<Channel>(i));
        EXPECT_EQ(fresh.channels[i].gamma, gammas[i]) << i;
        EXPECT_FALSE(fresh.channels[i].enabled);
    }
    EXPECT_EQ(fresh.displacement.gamma, 1);

    const auto read = ReadFrom({});
    EXPECT_EQ(read->type, MaterialType::Standard);
    EXPECT_EQ(read->reflectionBlend, ReflectionBlend::Normal);
    EXPECT_EQ(read->refractionBlend, ReflectionBlend::Normal);
    EXPECT_EQ(read->reflectionFresnelBias, 0.5f);

    // An old flag leaves a shadow that was off.
    const auto hidden = ReadFrom(Narrow(572, U8({0})) + Narrow(574, U8({1})));
    EXPECT_TRUE(hidden->visibleToCamera);
    EXPECT_FALSE(hidden->castShadow);
}

TEST(SceneMaterial, ForgetsWhatIsNotStored) {
    SceneMaterial material;
    material.affectReflection = material.affectRefraction = false;
    material.sortOrder = 5;
    SceneMaterial read;
    ASSERT_TRUE(read.ReadPresetBytes(Written(material, nullptr, true)));
    EXPECT_TRUE(read.affectReflection && read.affectRefraction);
    EXPECT_EQ(read.sortOrder, 1);
    SceneMaterial copy(material);
    EXPECT_FALSE(copy.affectReflection);
    EXPECT_TRUE(copy.needsTextures);
}

TEST(SceneMaterial, ResetsToItsDefaults) {
    SceneMaterial material;
    Scramble(kMaterialFields, &material, 5);
    material.name = "kept";
    material.needsTextures = false;
    material.Reset(true);
    EXPECT_EQ(material.name, "kept");
    EXPECT_EQ(static_cast<const MaterialSettings&>(material), MaterialSettings{});
    EXPECT_TRUE(material.needsTextures);
    material.Reset(false);
    EXPECT_EQ(material.name, "Default");
}

TEST(MaterialPreset, KeepsEveryFieldAndThePicture) {
    const TemporaryFolder folder;
    Scene scene;
    FillScene(scene);
    SceneMaterial& material = *scene.materials[1];
    Buffer pixels(std::size_t{kThumbnailWidth} * kThumbnailHeight * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::byte>(i * 7);
    EXPECT_EQ(pixels.size(), 26'460u);
    const std::string path = folder.file("a.qmt");
    std::string error;
    ASSERT_TRUE(material.WritePreset(path, pixels, &error)) << error;

    const Buffer bytes = Text(ReadWhole(path));
    EXPECT_EQ(Buffer(bytes.begin(), bytes.begin() + 4), Text("ZQP") + U8({2}));
    EXPECT_EQ(Buffer(bytes.end() - 4, bytes.end()), Buffer(4)) << "a file starts with eight bytes";
    const Buffer chunks = Written(material, nullptr, true) + Narrow(800, pixels);
    EXPECT_EQ(Buffer(bytes.begin(), bytes.end() - 4), chunks);

    material.index = -1; // a preset stands in no list
    for (const bool fromFile : {true, false}) {
        SceneMaterial read;
        ASSERT_TRUE(fromFile ? read.ReadPreset(path) : read.ReadPresetBytes(bytes));
        EXPECT_EQ(static_cast<const MaterialSettings&>(read), static_cast<const MaterialSettings&>(material));
        EXPECT_EQ(read.name, material.name);
        EXPECT_EQ(std::as_bytes(std::span(read.thumbnail)).size(), pixels.size());
        EXPECT_TRUE(
            std::equal(pixels.begin(), pixels.end(), std::as_bytes(std::span(read.thumbnail)).begin()));
    }
    ForEachTruncation(bytes, [](Bytes part) {
        if (part.size() % 13 == 0) { // most of the file is the picture
            SceneMaterial read;
            EXPECT_EQ(read.ReadPresetBytes(part), part.size() >= 4);
        }
    });
}

TEST(MaterialPreset, LeavesTheMaterialWhenItCannotBeRead) {
    const TemporaryFolder folder;
    SceneMaterial material;
    Scramble(kMaterialFields, &material, 9);
    const MaterialSettings before = material;
    EXPECT_FALSE(material.ReadPreset(folder.file("missing.qmt")));
    EXPECT_FALSE(material.ReadPreset(folder.Put("scene.qmt", "ZQS\4xxxxxxxx")));
    EXPECT_FALSE(material.ReadPresetBytes(Text("NXCFH") + U8({0, 0, 1, 0, 0, 0})));
    EXPECT_FALSE(material.ReadPresetBytes({}));
    EXPECT_EQ(static_cast<const MaterialSettings&>(material), before);

    std::string error;
    EXPECT_FALSE(material.WritePreset(folder.file("no/folder.qmt"), {}, &error));
    EXPECT_NE(error.find("no/folder.qmt"), std::string::npos);
    EXPECT_FALSE(material.WritePreset(folder.file("large.qmt"), Buffer(65'536), &error));
    EXPECT_NE(error.find("large.qmt"), std::string::npos);
    EXPECT_EQ(folder.entryCount(), 1u);
}
