#pragma once

#include "host/api/HostApi.h"

#include <cstdint>
#include <vector>

namespace velorin {

// Name and number under which the host hands out a suite's record.
template <class Record>
struct SuiteId;

#define VELORIN_SUITE(Record, suiteName, suiteVersion)                                                       \
    template <>                                                                                              \
    struct SuiteId<Record> {                                                                                 \
        static constexpr const char* name = suiteName;                                                       \
        static constexpr std::int32_t version = suiteVersion;                                                \
    }

VELORIN_SUITE(PF_PointParamSuite1, kPFPointParamSuite, kPFPointParamSuiteVersion1);
VELORIN_SUITE(PF_AngleParamSuite1, kPFAngleParamSuite, kPFAngleParamSuiteVersion1);
VELORIN_SUITE(PFAppSuite4, kPFAppSuite, kPFAppSuiteVersion4);
VELORIN_SUITE(PF_ParamUtilsSuite3, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3);
VELORIN_SUITE(PF_PathDataSuite1, kPFPathDataSuite, kPFPathDataSuiteVersion1);
VELORIN_SUITE(AEGP_UtilitySuite4, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4);
VELORIN_SUITE(AEGP_PFInterfaceSuite1, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
VELORIN_SUITE(AEGP_CompSuite10, kAEGPCompSuite, kAEGPCompSuiteVersion10);
VELORIN_SUITE(AEGP_ItemSuite8, kAEGPItemSuite, kAEGPItemSuiteVersion8);
VELORIN_SUITE(AEGP_LayerSuite8, kAEGPLayerSuite, kAEGPLayerSuiteVersion8);
VELORIN_SUITE(AEGP_EffectSuite4, kAEGPEffectSuite, kAEGPEffectSuiteVersion4);
VELORIN_SUITE(AEGP_StreamSuite4, kAEGPStreamSuite, kAEGPStreamSuiteVersion4);
VELORIN_SUITE(AEGP_DynamicStreamSuite4, kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4);
VELORIN_SUITE(AEGP_MaskSuite6, kAEGPMaskSuite, kAEGPMaskSuiteVersion6);
VELORIN_SUITE(AEGP_MaskOutlineSuite3, kAEGPMaskOutlineSuite, kAEGPMaskOutlineSuiteVersion3);
VELORIN_SUITE(AEGP_TextLayerSuite1, kAEGPTextLayerSuite, kAEGPTextLayerSuiteVersion1);
VELORIN_SUITE(AEGP_CameraSuite2, kAEGPCameraSuite, kAEGPCameraSuiteVersion2);
VELORIN_SUITE(AEGP_LightSuite2, kAEGPLightSuite, kAEGPLightSuiteVersion2);

#undef VELORIN_SUITE

// The suites of one call of the host: got on first use, all given back when the call ends. A suite that the
// host does not offer is null, and stays so for the call.
class Suites {
public:
    explicit Suites(SPBasicSuite* basic) : basic_(basic) {}
    ~Suites() {
        for (const Entry& entry : entries_)
            if (entry.record) basic_->ReleaseSuite(entry.name, entry.version);
    }
    Suites(const Suites&) = delete;
    Suites& operator=(const Suites&) = delete;

    template <class Record>
    [[nodiscard]] const Record* Get() {
        return static_cast<const Record*>(Find(SuiteId<Record>::name, SuiteId<Record>::version));
    }

private:
    struct Entry {
        const char* name;
        std::int32_t version;
        const void* record;
    };

    const void* Find(const char* name, std::int32_t version) {
        for (const Entry& entry : entries_)
            if (entry.name == name && entry.version == version) return entry.record;
        const void* record = nullptr;
        if (!basic_ || basic_->AcquireSuite(name, version, &record) != 0) record = nullptr;
        entries_.push_back({name, version, record});
        return record;
    }

    SPBasicSuite* basic_;
    std::vector<Entry> entries_;
};

} // namespace velorin
