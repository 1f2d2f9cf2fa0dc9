#pragma once

#include "model/FileModel.h"
#include "services/ByteReader.h"

#include <array>
#include <span>
#include <string>

namespace velorin::obj {

// A material of an OBJ model.
class MaterialObj final : public FileMaterial {
public:
    std::string name;
    float Ns = 0, Ni = 1.5f;
    Point3 Ka{1, 1, 1}, Kd{1, 1, 1}, Ks{1, 1, 1};
    float opacity = 1;
    std::array<ModelMap, kMapSlotCount> maps; // paths as the file writes them
    bool sphereReflection = false;            // the "refl" statement is of type sphere

    [[nodiscard]] const std::string& Name() const override { return name; }
    [[nodiscard]] Point3 DiffuseColour() const override { return Kd; }
    [[nodiscard]] Point3 SpecularColour() const override { return Ks; }
    [[nodiscard]] Point3 EmissiveColour() const override { return Ka; }
    [[nodiscard]] Point3 ReflectionColour() const override { return {1, 1, 1}; }
    [[nodiscard]] Point3 TransparencyColour() const override { return {1, 1, 1}; }
    [[nodiscard]] float DiffuseBrightness() const override { return 1; }
    [[nodiscard]] float SpecularExponent() const override { return Ns; }
    [[nodiscard]] float Value8() const override { return 1; }
    [[nodiscard]] float Value9() const override { return 0; }
    [[nodiscard]] float Value10() const override { return 0; }
    [[nodiscard]] float Value11() const override { return 0; }
    [[nodiscard]] float Opacity() const override { return opacity; }
    [[nodiscard]] float Value13() const override { return 0.5f; }
    [[nodiscard]] const std::string& MapPath(MapSlot slot) const override { return Map(slot).path; }
    [[nodiscard]] float MapBase(MapSlot slot) const override { return Map(slot).mmBase; }
    [[nodiscard]] float MapGain(MapSlot slot) const override { return Map(slot).mmGain; }
    [[nodiscard]] Transform MapTransform(MapSlot slot) const override {
        return {Map(slot).offset, Map(slot).scale};
    }

private:
    [[nodiscard]] const ModelMap& Map(MapSlot slot) const { return maps[static_cast<std::size_t>(slot)]; }
};

// Reads a material library into the materials that have its names; the first of a name counts, and what the
// library does not mention stays. Any input gives a result.
void ReadMtl(Bytes library, std::span<MaterialObj> materials);

} // namespace velorin::obj
