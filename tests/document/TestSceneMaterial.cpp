#include "core/document/ChunkFile.h"
#include "core/document/Scene.h"

#include "FormatChecks.h"
#include "document/DocumentSamples.h"
#include "services/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>

using namespace velorin;
using namespace velorin::test;

namespace {

Buffer Written(const SceneMaterial& material, const Scene* scene, bool withName) {
    const auto places = scene ? std::optional<MaterialPlaces>(*scene) : std::nullopt;
    const MaterialPlaces* const known = places ? &*places : nullptr;
    ChunkFile measure(nullptr, 0, kMaterialPresetForm);
    material.WriteChunks(measure, known, withName);
    Buffer buffer(static_cast<std::size_t>(measure.size()));
    ChunkFile write(buffer.data(), buffer.size(), kMaterialPresetForm);
    material.WriteChunks(write, known, withName);
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
    using M = SceneMaterial;
    const auto fields = Fields<M>([](const Buffer& chunk) { return M(*ReadFrom(chunk)); });
    fields.Expect(
        Tag(501, &M::name), Tag(503, &M::type), Tag(520, &M::blendMode), Tag(534, &M::reflectionBlend),
        Tag(545, &M::refractionBlend), Tag(571, &M::aoMode), Tag(623, &M::wireFillMode),
        Tag(624, &M::wireColorMode), Tag(625, &M::wireTransferMode), Tag(502, &M::index),
        Tag(600, &M::displaceA), Tag(601, &M::displaceC), Tag(602, &M::displaceB), Tag(603, &M::displaceD),
        Tag(510, &M::diffuseColor), Tag(517, &M::specularColor), Tag(533, &M::reflectionTint),
        Tag(544, &M::refractionTint), Tag(553, &M::illuminationColor), Tag(593, &M::scatterColor),
        Tag(622, &M::wireColor), Tag(652, &M::pbrDiffuseColor), Tag(653, &M::pbrReflectivityColor),
        Tag(658, &M::pbrRefractionColor), Tag(519, &M::drawBackfaces), Tag(521, &M::twoSidedLighting),
        Tag(554, &M::useDiffuseColor), Tag(560, &M::swapXY), Tag(561, &M::invertX), Tag(562, &M::invertY),
        Tag(563, &M::invertDepth), Tag(564, &M::convertBump), Tag(570, &M::matteShadow),
        Tag(572, &M::castShadow), Tag(573, &M::receiveShadow), Tag(574, &M::visibleToCamera),
        Tag(574, &M::castShadow), Tag(575, &M::legacyFlag), Tag(583, &M::matteReflection),
        Tag(584, &M::visibleToReflections), Tag(585, &M::visibleToCamera), Tag(586, &M::matteAlpha),
        Tag(587, &M::invisibleToAOGlow), Tag(582, &M::matteShadow), Tag(595, &M::sssEnable),
        Tag(620, &M::wireEnable), Tag(626, &M::wireFogInfluence), Tag(657, &M::pbrAffectRefraction),
        Tag(662, &M::energyConservation), Tag(511, &M::smoothing), Tag(512, &M::diffuse),
        Tag(513, &M::specular), Tag(514, &M::specularShininess), Tag(515, &M::ambient),
        Tag(516, &M::alphaThreshold), Tag(518, &M::forceOpacity), Tag(522, &M::specularSharpness),
        Tag(530, &M::reflectionIntensity), Tag(531, &M::reflectionFresnel),
        Tag(532, &M::reflectionFresnelBias), Tag(540, &M::refractionIntensity),
        Tag(541, &M::refractionFresnel), Tag(542, &M::refractionFresnelBias), Tag(543, &M::refractionIoR),
        Tag(550, &M::illuminationIntensity), Tag(551, &M::illuminationFresnel),
        Tag(552, &M::illuminationFresnelBias), Tag(580, &M::aoAmount), Tag(581, &M::glowAmount),
        Tag(590, &M::sssIntensity), Tag(591, &M::scattering), Tag(592, &M::absorptionFalloff),
        Tag(594, &M::absorptionRange), Tag(596, &M::lightPenetration), Tag(621, &M::wireWidth),
        Tag(627, &M::wireFresnel), Tag(628, &M::wireFresnelBias), Tag(650, &M::pbrAmbient),
        Tag(651, &M::pbrDiffuse), Tag(654, &M::pbrReflectivity), Tag(655, &M::pbrGlossiness),
        Tag(656, &M::pbrRefraction), Tag(659, &M::pbrIoR), Tag(660, &M::pbrEnvironmentMultiplier),
        Tag(661, &M::pbrSpecularMultiplier));
    EXPECT_EQ(ReadFrom(Narrow(518, F32({1.5f})))->forceOpacity, 1);
    EXPECT_EQ(ReadFrom(Narrow(518, F32({0.25f})))->forceOpacity, 0.25f);
    EXPECT_EQ(ReadFrom(Narrow(510, U8({9})))->diffuseColor, (Colour{9, 0, 0, 0}))
        << "short: filled up with zeros";
    EXPECT_EQ(ReadFrom(Narrow(701, Zero("x.png")))->channels[0].path, "") << "no channel is selected";
    EXPECT_EQ(ReadFrom(Narrow(101, Zero("x")) + Narrow(663, U8({1})))->name, "Default");
}

TEST(SceneMaterial, ReadsTexturesIntoTheSelectedChannel) {
    using T = TextureChannel;
    for (const Channel channel :
         {Channel::Diffuse, Channel::Normal, Channel::Reflection, Channel::Displacement}) {
        const auto fields = Fields<T>([channel](const Buffer& chunk) {
            const auto number = static_cast<std::uint32_t>(channel);
            const auto material = ReadFrom(Narrow(700, U32(number)) + chunk + Narrow(700, U32(7)) + chunk);
            for (std::uint32_t other = 0; other < kMaterialChannels; ++other)
                if (other != number) {
                    EXPECT_EQ(material->channels[other], T(Channel{other}));
                }
            return material->channel(channel);
        });
        fields.Expect(Tag(701, &T::path), Tag(702, &T::enabled), Tag(703, &T::amount), Tag(704, &T::gamma),
                      Tag(705, &T::customLayer), Tag(706, &T::uvOffset), Tag(707, &T::contrast),
                      Tag(708, &T::saturation), Tag(709, &T::brightness), Tag(710, &T::invert));
    }
    const auto levels = ReadFrom(Narrow(700, U32(4)) + Narrow(706, F32({1, 2, 3, 4})) +
                                 Narrow(713, F32({0.25f, 0.75f})) + Narrow(714, F32({0.1f, 0.4f, 0.9f})) +
                                 Narrow(700, U32(101)) + Narrow(712, F32({0.1f, 0.9f, 0.4f})));
    const T& normal = levels->channel(Channel::Normal);
    EXPECT_EQ(normal.uvRepeat, (Point2{3, 4}));
    EXPECT_EQ(normal.outputLevels, (std::array<float, 2>{0.25f, 0.75f}));
    EXPECT_EQ(normal.inputLevels, (std::array<float, 3>{0.1f, 0.4f, 0.9f}));
    EXPECT_EQ(levels->displacement.inputLevels, normal.inputLevels) << "the old order is low, high, mid";
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

TEST(SceneMaterial, ForgetsWhatIsNotStoredAndResets) {
    SceneMaterial material;
    Scramble(kMaterialFields, &material, 5);
    material.needsTextures = false;
    SceneMaterial read;
    ASSERT_TRUE(read.ReadPresetBytes(Written(material, nullptr, true)));
    EXPECT_TRUE(read.affectReflection && read.affectRefraction && read.sortOrder == 1);
    const SceneMaterial copy(material);
    EXPECT_TRUE(!copy.affectReflection && copy.needsTextures);
    material.name = "kept";
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
