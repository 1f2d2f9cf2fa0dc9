#include "model/obj/MtlReader.h"

#include <gtest/gtest.h>

namespace velorin::obj {
namespace {

MaterialObj Read(const std::string& library, const std::string& name = "m") {
    std::vector<MaterialObj> materials(1);
    materials[0].name = name;
    ReadMtl(AsBytes(library), materials);
    return materials[0];
}
MaterialObj ReadStatement(const std::string& statement) {
    return Read("newmtl m\n" + statement + "\n");
}

TEST(MtlReader, Opacity) {
    const std::pair<const char*, float> cases[] = {{"d 0.25", 0.25f},
                                                   {"Tr 0.25", 0.75f},
                                                   {"d -halo 0.4", 0.4f},
                                                   {"Tr -HALO 0.4", 0.6f},
                                                   {"d 7", 1},
                                                   {"d -1", 0},
                                                   {"Tr 7", 0},
                                                   {"d", 1},
                                                   {"d x", 0},
                                                   {"d -halo", 0},
                                                   {"tr\t1", 0},
                                                   {"d nan", 0},
                                                   {"dx 0.5", 1},
                                                   {"d 0.9\nTr 0.2", 0.8f}};
    for (const auto& [statement, opacity] : cases)
        EXPECT_FLOAT_EQ(ReadStatement(statement).opacity, opacity) << statement;
}

TEST(MtlReader, Colours) {
    constexpr Point3 white{1, 1, 1};
    EXPECT_EQ(ReadStatement("kD 1e-1 .2 3").Kd, (Point3{0.1f, 0.2f, 3}));
    EXPECT_EQ(ReadStatement("Ks2 0 0 1").Ks, (Point3{0, 0, 1})) << "the keyword's start counts";
    EXPECT_EQ(ReadStatement("Ka 1 0 0\nKe 0 1 0").Ka, (Point3{0, 1, 0})) << "the last of Ka and Ke";
    EXPECT_EQ(ReadStatement("Ke 0 1 0\nKa 1 0 0").Ka, (Point3{1, 0, 0}));
    EXPECT_EQ(ReadStatement("Kd 0.5 x 0.25").Kd, (Point3{0.5f, 0, 0.25f}));
    for (const char* unchanged : {"Kd spectral file.rfl", "Kd SPECTRAL file.rfl 1", "Kd xyz 1 2", "Kd 0.5",
                                  "Kd 1 2", "Kd 0 0 0 0", "Kd", "map_d x.png"})
        EXPECT_EQ(ReadStatement(unchanged).Kd, white) << unchanged;
    EXPECT_EQ(ReadStatement("Ns 96.078431").Ns, 96.078431f);
    EXPECT_EQ(ReadStatement("Ns 1 2").Ns, 0);
    EXPECT_EQ(ReadStatement("Ni 1.25").Ni, 1.25f);
}

TEST(MtlReader, Maps) {
    struct Case {
        const char* statement;
        MapSlot slot;
        const char* path;
        ModelMap map;
    };
    const Case cases[] = {
        {"map_Kd a.png", MapSlot::Diffuse, "a.png", {}},
        {"map_Kd -s 2 3 -o 0.5 0.25 tex.JPG", MapSlot::Diffuse, "tex.JPG", {1, 0, {0.5f, 0.25f}, {2, 3}, {}}},
        {"map_Kd -mm 0.5 2 a.exr", MapSlot::Diffuse, "a.exr", {0.5f, 2, {0, 0}, {1, 1}, {}}},
        {"map_Kd -s 1 1 1 -o 0 0 0 a.png", MapSlot::Diffuse, "a.png", {}},
        {"map_Kd a.png -s 1 1 1", MapSlot::Diffuse, "", {}}, // the third number is the last name
        {"map_Kd a.png b.png", MapSlot::Diffuse, "b.png", {}},
        {"map_Kd -o 0.5", MapSlot::Diffuse, "", {1, 0, {0.5f, 0}, {1, 1}, {}}},
        {"map_Kd tex.tga", MapSlot::Diffuse, "", {}},
        {"map_Kd noextension", MapSlot::Diffuse, "", {}},
        {"map_Kdx .\\deep\\a.hdr", MapSlot::Diffuse, ".\\deep\\a.hdr", {}},
        {"map_Ks s.dds", MapSlot::Specular, "s.dds", {}},
        {"bump -bm 0.2 b.png", MapSlot::Normal, "b.png", {}},
        {"map_Bump b.png", MapSlot::Normal, "b.png", {}},
        {"map_bumpy b.png", MapSlot::Normal, "", {}},
        {"refl a.png", MapSlot::Reflection, "", {}},
        {"refl -type sphere a.png", MapSlot::Reflection, "a.png", {}},
        {"refl -s 2 2 a.png", MapSlot::Reflection, "a.png", {1, 0, {0, 0}, {2, 2}, {}}},
        {"map_refl -type sphere a.png", MapSlot::Reflection, "a.png", {}},
    };
    for (const Case& c : cases) {
        const MaterialObj material = ReadStatement(c.statement);
        EXPECT_EQ(material.MapPath(c.slot), c.path) << c.statement;
        EXPECT_EQ(material.MapBase(c.slot), c.map.mmBase) << c.statement;
        EXPECT_EQ(material.MapGain(c.slot), c.map.mmGain) << c.statement;
        EXPECT_EQ(material.MapTransform(c.slot).offset, c.map.offset) << c.statement;
        EXPECT_EQ(material.MapTransform(c.slot).scale, c.map.scale) << c.statement;
        for (std::size_t slot = 0; slot < kMapSlotCount; ++slot) {
            const bool named = slot == static_cast<std::size_t>(c.slot);
            EXPECT_EQ(material.maps[slot].path, named ? c.path : "") << c.statement;
        }
    }
    EXPECT_TRUE(ReadStatement("refl -type sphere a.png").sphereReflection);
    EXPECT_FALSE(ReadStatement("map_refl -type sphere a.png").sphereReflection);
}

TEST(MtlReader, Lines) {
    EXPECT_EQ(Read("Ns 5\nnewmtl m\n").Ns, 0) << "before the first material";
    EXPECT_EQ(Read("newmtl m\r\nNs 5\r\n").Ns, 5) << "CR before LF";
    EXPECT_EQ(Read("\t newmtl\tm \n \t Ns \t5").Ns, 5) << "tabs, blanks, no line end at the end";
    EXPECT_EQ(Read("newmtl m\nnewmtl other\nNs 5\n").Ns, 0) << "a material that the model does not have";
    EXPECT_EQ(Read("newmtl m\nnewmtl\nNs 5\n").Ns, 5) << "a newmtl without a name changes nothing";
    EXPECT_EQ(Read("newmtl m x\nNs 5\n").Ns, 0) << "a name of two words";
    EXPECT_EQ(Read("# newmtl m\nNs 5\n").Ns, 0);
    EXPECT_EQ(Read("").Ns, 0);

    std::vector<MaterialObj> materials(3);
    materials[0].name = materials[2].name = "a";
    materials[1].name = "b";
    ReadMtl(AsBytes("newmtl a\nNs 1\nnewmtl b\nNs 2\nnewmtl a\nNi 3\n"), materials);
    EXPECT_EQ(materials[0].Ns, 1);
    EXPECT_EQ(materials[0].Ni, 3);
    EXPECT_EQ(materials[1].Ns, 2);
    EXPECT_EQ(materials[2].Ns, 0) << "the first of a name";
}

} // namespace
} // namespace velorin::obj
