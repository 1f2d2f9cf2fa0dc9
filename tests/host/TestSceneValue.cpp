#include "host/SceneValue.h"

#include "host/FakeHost.h"
#include "host/HostMemory.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

// The host's side of the arbitrary parameter.
class SceneValueCalls : public ::testing::Test {
protected:
    PF_ArbParamsExtra Call(A_long function, PF_ArbParamsExtra extra = {}) {
        extra.which_function = function;
        HandleSceneValue(*host.in.utils, nullptr, extra);
        return extra;
    }
    PF_Handle New() {
        PF_Handle made = nullptr;
        PF_ArbParamsExtra extra{};
        extra.u.new_func_params.arbPH = &made;
        Call(PF_Arbitrary_NEW_FUNC, extra);
        return made;
    }
    PF_Handle Copy(PF_Handle from) {
        PF_Handle made = nullptr;
        PF_ArbParamsExtra extra{};
        extra.u.copy_func_params.src_arbH = from;
        extra.u.copy_func_params.dst_arbPH = &made;
        Call(PF_Arbitrary_COPY_FUNC, extra);
        return made;
    }
    std::vector<std::byte> Flatten(PF_Handle value) {
        A_u_long size = 0;
        PF_ArbParamsExtra extra{};
        extra.u.flat_size_func_params.arbH = value;
        extra.u.flat_size_func_params.flat_data_sizePLu = &size;
        Call(PF_Arbitrary_FLAT_SIZE_FUNC, extra);
        std::vector<std::byte> bytes(size + 4, std::byte{0x5a});
        extra = {};
        extra.u.flatten_func_params.arbH = value;
        extra.u.flatten_func_params.buf_sizeLu = size;
        extra.u.flatten_func_params.flat_dataPV = bytes.data();
        Call(PF_Arbitrary_FLATTEN_FUNC, extra);
        for (std::size_t i = size; i < bytes.size(); ++i) EXPECT_EQ(bytes[i], std::byte{0x5a});
        bytes.resize(size);
        return bytes;
    }
    PF_Handle Unflatten(const std::vector<std::byte>& bytes) {
        PF_Handle made = nullptr;
        PF_ArbParamsExtra extra{};
        extra.u.unflatten_func_params.buf_sizeLu = static_cast<A_u_long>(bytes.size());
        extra.u.unflatten_func_params.flat_dataPV = bytes.data();
        extra.u.unflatten_func_params.arbPH = &made;
        Call(PF_Arbitrary_UNFLATTEN_FUNC, extra);
        return made;
    }
    void Dispose(PF_Handle value) {
        PF_ArbParamsExtra extra{};
        extra.u.dispose_func_params.arbH = value;
        Call(PF_Arbitrary_DISPOSE_FUNC, extra);
    }
    template <class Use>
    auto With(PF_Handle handle, Use use) {
        const HandleLock lock(host.in.utils, handle);
        return use(*SceneValueIn(lock.memory()));
    }

    FakeHost host;
};

TEST_F(SceneValueCalls, ValuesCopyFlattenAndDie) {
    const PF_Handle value = New();
    EXPECT_EQ(host.BytesOf(value).size(), 264u);
    With(value, [](SceneValue& v) {
        auto model = Ref<SceneModel>::Make(ModelType::ImportedFile);
        model->name = "Vase";
        v.scene->models.push_back(model);
        v.Touch();
        return 0;
    });
    const PF_Handle copy = Copy(value);
    EXPECT_NE(With(copy, [](SceneValue& v) { return v.scene->models.at(0).get(); }),
              With(value, [](SceneValue& v) { return v.scene->models.at(0).get(); }));
    EXPECT_EQ(With(copy, [](SceneValue& v) { return v.revision; }),
              With(value, [](SceneValue& v) { return v.revision; }));

    const std::vector<std::byte> flat = Flatten(copy);
    const PF_Handle back = Unflatten(flat);
    EXPECT_EQ(With(back, [](SceneValue& v) { return v.scene->models.at(0)->name; }), "Vase");
    EXPECT_EQ(Flatten(back), flat);
    for (const PF_Handle handle : {value, copy, back}) Dispose(handle);
    EXPECT_EQ(host.handles, 0u);
}

TEST_F(SceneValueCalls, NothingGivesAnEmptyDocument) {
    for (const PF_Handle value : {Copy(nullptr), Unflatten({}), Unflatten({std::byte{0}})}) {
        EXPECT_TRUE(With(value, [](SceneValue& v) { return v.scene->models.empty(); }));
        Dispose(value);
    }
    Dispose(nullptr);
    Call(PF_Arbitrary_COMPARE_FUNC); // left to the host's presets
    EXPECT_EQ(host.handles, 0u);
}

} // namespace
} // namespace velorin
