#include "host/AEPluginConnection.h"
#include "host/InstanceList.h"
#include "host/ParamTable.h"

#include "host/FakeHost.h"
#include "host/ParamsSetup.h"
#include "host/api/Introspection.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>

namespace velorin {
namespace {

// A layer with effects, and the streams of the calling one, behind the host's suites.
struct FakeEffect {
    const char* matchName = "QUENMARWORKS 3DArray";
    AEGP_EffectFlags flags = AEGP_EffectFlags_ACTIVE;
    bool unified = false;
    int record = 0; // its address stands for the sequence handle
};
std::vector<FakeEffect> effects;
int references = 0, streamsOpen = 0, valuesOpen = 0, generalCalls = 0;
std::map<A_long, double> written; // by parameter index
std::map<A_long, bool> hidden;
std::map<A_long, bool> refusing; // rows with keyframes

PF_Handle HandleOf(FakeEffect& effect) {
    return reinterpret_cast<PF_Handle>(&effect.record);
}
template <class Handle>
Handle Number(std::intptr_t number) {
    return reinterpret_cast<Handle>(number);
}
template <class Handle>
A_long NumberOf(Handle handle) {
    return static_cast<A_long>(reinterpret_cast<std::intptr_t>(handle));
}

struct FakeSuites {
    FakeSuites() {
        interface.AEGP_GetEffectLayer = [](PF_ProgPtr, AEGP_LayerH* layer) -> A_Err {
            *layer = Number<AEGP_LayerH>(8);
            return 0;
        };
        interface.AEGP_GetNewEffectForEffect = [](AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH* out) -> A_Err {
            ++references;
            *out = Number<AEGP_EffectRefH>(1);
            return 0;
        };
        interface.AEGP_ConvertEffectToCompTime = [](PF_ProgPtr, A_long time, A_u_long scale,
                                                    A_Time* out) -> A_Err {
            *out = {time, scale};
            return 0;
        };
        effectSuite.AEGP_GetLayerNumEffects = [](AEGP_LayerH, A_long* count) -> A_Err {
            *count = static_cast<A_long>(effects.size());
            return 0;
        };
        effectSuite.AEGP_GetLayerEffectByIndex = [](AEGP_PluginID, AEGP_LayerH, AEGP_EffectIndex index,
                                                    AEGP_EffectRefH* out) -> A_Err {
            ++references;
            *out = Number<AEGP_EffectRefH>(index + 1);
            return 0;
        };
        effectSuite.AEGP_GetEffectFlags = [](AEGP_EffectRefH effect, AEGP_EffectFlags* flags) -> A_Err {
            *flags = effects[static_cast<std::size_t>(NumberOf(effect) - 1)].flags;
            return 0;
        };
        effectSuite.AEGP_GetInstalledKeyFromLayerEffect = [](AEGP_EffectRefH effect,
                                                             AEGP_InstalledEffectKey* key) -> A_Err {
            *key = NumberOf(effect);
            return 0;
        };
        effectSuite.AEGP_GetEffectMatchName = [](AEGP_InstalledEffectKey key, A_char* name) -> A_Err {
            std::strcpy(name, effects[static_cast<std::size_t>(key - 1)].matchName);
            return 0;
        };
        effectSuite.AEGP_EffectCallGeneric = [](AEGP_PluginID, AEGP_EffectRefH effect, const A_Time*,
                                                PF_Cmd cmd, void* extra) -> A_Err {
            ++generalCalls;
            const auto& general = *static_cast<GeneralCall*>(extra);
            if (cmd != PF_Cmd_COMPLETELY_GENERAL || general.type != kGeneralDescribe) return A_Err_PARAMETER;
            FakeEffect& asked = effects[static_cast<std::size_t>(NumberOf(effect) - 1)];
            *static_cast<InstanceReply*>(general.reply) = {asked.unified, HandleOf(asked)};
            return 0;
        };
        effectSuite.AEGP_DisposeEffect = [](AEGP_EffectRefH) -> A_Err {
            --references;
            return 0;
        };
        streams.AEGP_GetNewEffectStreamByIndex = [](AEGP_PluginID, AEGP_EffectRefH, PF_ParamIndex index,
                                                    AEGP_StreamRefH* out) -> A_Err {
            ++streamsOpen;
            *out = Number<AEGP_StreamRefH>(index);
            return 0;
        };
        streams.AEGP_DisposeStream = [](AEGP_StreamRefH) -> A_Err {
            --streamsOpen;
            return 0;
        };
        streams.AEGP_GetNewStreamValue = [](AEGP_PluginID, AEGP_StreamRefH stream, AEGP_LTimeMode,
                                            const A_Time*, A_Boolean, AEGP_StreamValue2* value) -> A_Err {
            ++valuesOpen;
            value->streamH = stream;
            return 0;
        };
        streams.AEGP_DisposeStreamValue = [](AEGP_StreamValue2*) -> A_Err {
            --valuesOpen;
            return 0;
        };
        streams.AEGP_SetStreamValue = [](AEGP_PluginID, AEGP_StreamRefH stream,
                                         AEGP_StreamValue2* value) -> A_Err {
            if (refusing[NumberOf(stream)]) return A_Err_PARAMETER;
            written[NumberOf(stream)] = value->val.one_d;
            return 0;
        };
        dynamic.AEGP_GetDynamicStreamFlags = [](AEGP_StreamRefH stream, AEGP_DynStreamFlags* flags) -> A_Err {
            *flags = hidden[NumberOf(stream)] ? AEGP_DynStreamFlags{AEGP_DynStreamFlag_HIDDEN} : 0;
            return 0;
        };
        dynamic.AEGP_SetDynamicStreamFlag = [](AEGP_StreamRefH stream, AEGP_DynStreamFlags flag,
                                               A_Boolean undoable, A_Boolean set) -> A_Err {
            if (flag != AEGP_DynStreamFlag_HIDDEN || undoable) return A_Err_PARAMETER;
            hidden[NumberOf(stream)] = set != 0;
            return 0;
        };
    }
    AEGP_PFInterfaceSuite1 interface {};
    AEGP_EffectSuite4 effectSuite{};
    AEGP_StreamSuite4 streams{};
    AEGP_DynamicStreamSuite4 dynamic{};
};

class Instances : public ::testing::Test {
protected:
    void SetUp() override {
        effects.clear();
        written.clear();
        hidden.clear();
        refusing.clear();
        references = streamsOpen = valuesOpen = generalCalls = 0;
        host.suites = {{kAEGPPFInterfaceSuite, &suites.interface},
                       {kAEGPEffectSuite, &suites.effectSuite},
                       {kAEGPStreamSuite, &suites.streams},
                       {kAEGPDynamicStreamSuite, &suites.dynamic}};
    }
    void TearDown() override {
        EXPECT_EQ(references, 0);
        EXPECT_EQ(streamsOpen, 0);
        EXPECT_EQ(valuesOpen, 0);
        EXPECT_EQ(host.suitesOut, 0);
    }

    FakeSuites suites;
    FakeHost host;
};

TEST_F(Instances, TheLastDrawsForAllThatAreUnified) {
    const FakeEffect full{}, unified{"QUENMARWORKS 3DArray", AEGP_EffectFlags_ACTIVE, true, 0};
    const FakeEffect off{"QUENMARWORKS 3DArray", AEGP_EffectFlags_NONE, false, 0};
    const FakeEffect other{"Some Blur", AEGP_EffectFlags_ACTIVE, false, 0};
    struct Case {
        std::vector<FakeEffect> effects;
        std::size_t own;
        std::size_t entries;
        bool draws;
        int main; // index in `effects`, -1 for none
        int calls;
    };
    const Case cases[] = {
        {{full}, 0, 1, true, 0, 0},
        {{full, full}, 1, 2, true, 1, 2},
        {{full, full}, 0, 2, false, 1, 2},
        {{full, unified}, 1, 2, true, 0, 2},
        {{unified, unified}, 1, 2, true, -1, 2},
        {{full, unified, full, unified}, 3, 4, true, 2, 4},
        {{full, off}, 0, 1, true, 0, 0},
        {{other, full, other}, 1, 1, true, 1, 0},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        effects = c.effects;
        generalCalls = 0;
        host.in.sequence_data = HandleOf(effects[c.own]);
        PluginCall call(&host.in, &host.out, nullptr, nullptr);
        const InstanceList list(call, 7, effects[c.own].unified);
        EXPECT_EQ(list.entries().size(), c.entries) << i;
        EXPECT_EQ(list.drawsHere(host.in.sequence_data), c.draws) << i;
        EXPECT_EQ(generalCalls, c.calls) << i;
        if (c.main < 0) {
            EXPECT_EQ(list.main(), nullptr) << i;
        } else {
            ASSERT_NE(list.main(), nullptr) << i;
            EXPECT_EQ(list.main()->handle, HandleOf(effects[static_cast<std::size_t>(c.main)])) << i;
        }
    }
}

TEST_F(Instances, WithoutTheHostsHelpAnInstanceStandsAlone) {
    host.suites.clear();
    host.in.sequence_data = host.NewHandle(1);
    {
        PluginCall call(&host.in, &host.out, nullptr, nullptr);
        const InstanceList list(call, 7, false);
        EXPECT_TRUE(list.drawsHere(host.in.sequence_data));
        ASSERT_NE(list.main(), nullptr);
    }
    host.Dispose(host.in.sequence_data);
}

// Commands of the panel, with the values that the host passes.
class PanelCommands : public Instances {
protected:
    void SetUp() override {
        Instances::SetUp();
        ASSERT_EQ(connection.Dispatch(PF_Cmd_PARAMS_SETUP, &host.in, &host.out, nullptr, nullptr),
                  PF_Err_NONE);
        ASSERT_EQ(host.out.num_params, 2428);
        passed.push_back(&inputLayer);
        for (PF_ParamDef& row : host.rows) passed.push_back(&row);
    }
    void Send(PF_Cmd command, void* extra = nullptr) {
        EXPECT_EQ(connection.Dispatch(command, &host.in, &host.out, passed.data(), extra), PF_Err_NONE);
    }
    void Change(std::uint32_t diskId) {
        PF_UserChangedParamExtra extra{host.Index(diskId)};
        Send(PF_Cmd_USER_CHANGED_PARAM, &extra);
    }

    AEPluginConnection connection;
    PF_ParamDef inputLayer{};
    std::vector<PF_ParamDef*> passed;
};

TEST_F(PanelCommands, TheQualityPresetSetsThreeRows) {
    const struct {
        A_long popup;
        double samples, multisampling, blend;
    } presets[] = {{2, 1, 1, 0.9}, {3, 2, 3, 0.75}, {4, 3, 5, 0.5}, {5, 4, 6, 0.25}};
    for (const auto& preset : presets) {
        written.clear();
        host.Row(1331).u.pd.value = preset.popup;
        Change(1331);
        const std::map<A_long, double> expected = {{host.Index(1281), preset.samples},
                                                   {host.Index(1266), preset.multisampling},
                                                   {host.Index(1308), preset.blend}};
        EXPECT_EQ(written, expected) << preset.popup;
    }
    written.clear();
    host.Row(1331).u.pd.value = 1; // "Select"
    Change(1331);
    EXPECT_TRUE(written.empty());
    host.Row(1331).u.pd.value = 3;
    Change(1267); // another row
    EXPECT_TRUE(written.empty());
    host.Row(1267).u.pd.value = 2; // ray-traced
    Change(1331);
    EXPECT_TRUE(written.empty());
    // A row with keyframes refuses; the others are set all the same.
    host.Row(1267).u.pd.value = 1;
    refusing[host.Index(1281)] = true;
    Change(1331);
    EXPECT_EQ(written.size(), 2u);
}

TEST_F(PanelCommands, TheHostLearnsWhatIsHidden) {
    Send(PF_Cmd_UPDATE_PARAMS_UI);
    EXPECT_TRUE(hidden[host.Index(1104)]); // Shutter Angle
    EXPECT_TRUE(hidden[host.Index(114)]);  // Custom Layer of a Point
    EXPECT_FALSE(hidden[host.Index(117)]);
    EXPECT_TRUE(hidden[host.Index(250)]); // no rig
    host.Row(1102).u.pd.value = 2;
    host.Row(104).u.pd.value = 8;
    Send(PF_Cmd_UPDATE_PARAMS_UI);
    EXPECT_FALSE(hidden[host.Index(1104)]);
    EXPECT_FALSE(hidden[host.Index(114)]);
    EXPECT_TRUE(hidden[host.Index(117)]);
    host.Row(302).u.bd.value = 1;
    EXPECT_TRUE(hidden[host.Index(325)]);
    Send(PF_Cmd_UPDATE_PARAMS_UI);
    EXPECT_FALSE(hidden[host.Index(325)]);
    EXPECT_EQ(host.checkedOut, 0);
}

TEST_F(PanelCommands, DynamicFlagsFollowTheCustomTextures) {
    const auto query = [&] {
        host.out.out_flags = PF_OutFlag_NON_PARAM_VARY | PF_OutFlag_WIDE_TIME_INPUT | PF_OutFlag_CUSTOM_UI;
        EXPECT_EQ(connection.Dispatch(PF_Cmd_QUERY_DYNAMIC_FLAGS, &host.in, &host.out, nullptr, nullptr),
                  PF_Err_NONE);
        return host.out.out_flags;
    };
    EXPECT_EQ(query(), PF_OutFlag_CUSTOM_UI);
    host.Row(1866).u.pd.value = 3; // the fourth at a random time, but without a layer
    EXPECT_EQ(query(), PF_OutFlag_CUSTOM_UI);
    int pixels = 0;
    host.Row(1855).u.ld.data = reinterpret_cast<PF_PixelPtr>(&pixels);
    EXPECT_EQ(query(), PF_OutFlag_CUSTOM_UI | PF_OutFlag_WIDE_TIME_INPUT);
    host.Row(1866).u.pd.value = 2;
    EXPECT_EQ(query(), PF_OutFlag_CUSTOM_UI);
}

} // namespace
} // namespace velorin
