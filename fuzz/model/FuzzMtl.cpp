// The reader of material libraries.

#include "model/obj/MtlReader.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velorin;
    std::vector<obj::MaterialObj> materials(2);
    materials[0].name = "m";
    materials[1].name = "";
    obj::ReadMtl(std::as_bytes(std::span(data, size)), materials);
    for (const obj::MaterialObj& material : materials)
        if (!(material.opacity >= 0 && material.opacity <= 1)) std::abort();
    return 0;
}
