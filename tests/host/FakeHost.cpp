#include "host/FakeHost.h"

#include "host/Entry.h"
#include "host/SceneValue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

FakeHost* current = nullptr;
FakeFrame* currentFrame = nullptr;

struct Block { // what a handle points to: the first member is the memory's address
    void* memory;
    std::vector<std::byte> bytes;
    int locks = 0;
};

Block* BlockOf(PF_Handle handle) {
    return reinterpret_cast<Block*>(handle);
}

PF_Err Checkout(PF_ProgPtr, PF_ParamIndex index, A_long time, A_long, A_u_long, PF_ParamDef* out) {
    if (index < 1 || index > static_cast<PF_ParamIndex>(current->rows.size())) return PF_Err_INVALID_INDEX;
    *out = current->rows[static_cast<std::size_t>(index - 1)];
    if (const auto row = current->floatsAtTime.find(index); row != current->floatsAtTime.end()) {
        ++current->floatReads;
        const auto value = row->second.find(time);
        out->u.fs_d.value = value != row->second.end() ? value->second : 0;
    }
    current->lastCheckout = index;
    ++current->checkedOut;
    return PF_Err_NONE;
}

PF_Err Checkin(PF_ProgPtr, PF_ParamDef*) {
    --current->checkedOut;
    return PF_Err_NONE;
}

PF_Err AddParam(PF_ProgPtr, PF_ParamIndex index, PF_ParamDef* def) {
    if (index != PF_ParamIndex_NONE) return PF_Err_BAD_CALLBACK_PARAM;
    PF_ParamDef row = *def;
    current->labels.emplace_back(def->param_type == PF_Param_CHECKBOX ? def->u.bd.u.PF_DEF_NAMEPTR : "");
    current->choices.emplace_back(def->param_type == PF_Param_POPUP ? def->u.pd.u.PF_DEF_NAMESPTR : "");
    if (row.param_type == PF_Param_ARBITRARY_DATA) row.u.arb_d.value = row.u.arb_d.dephault;
    if (row.param_type == PF_Param_POINT) {
        row.u.td.x_value = static_cast<PF_Fixed>(row.u.td.x_dephault * (current->in.width / 100.0));
        row.u.td.y_value = static_cast<PF_Fixed>(row.u.td.y_dephault * (current->in.height / 100.0));
    }
    if (row.param_type == PF_Param_POPUP && row.u.pd.value > row.u.pd.num_choices) row.u.pd.value = 1;
    current->rows.push_back(row);
    return PF_Err_NONE;
}

PF_Err Register(PF_ProgPtr, PF_CustomUIInfo* info) {
    if (info->events == PF_CustomEFlag_EFFECT) ++current->controlsRegistered;
    return PF_Err_NONE;
}

PF_Err Abort(PF_ProgPtr) {
    return PF_Err_NONE;
}

PF_Err Progress(PF_ProgPtr, A_long, A_long) {
    return ++current->progressCalls == current->stopAtProgress ? PF_Interrupt_CANCEL : PF_Err_NONE;
}

PF_Handle NewHandle(A_HandleSize size) {
    auto* block = new Block;
    block->bytes.resize(size);
    block->memory = block->bytes.data();
    ++current->handles;
    current->alive.insert(&block->memory);
    return &block->memory;
}
void* Lock(PF_Handle handle) {
    ++BlockOf(handle)->locks;
    return BlockOf(handle)->memory;
}
void Unlock(PF_Handle handle) {
    --BlockOf(handle)->locks;
}
void DisposeHandle(PF_Handle handle) {
    if (BlockOf(handle)->locks != 0) std::abort(); // a lock of the plug-in's own is still on it
    current->alive.erase(handle);
    --current->handles;
    delete BlockOf(handle);
}
A_HandleSize SizeOf(PF_Handle handle) {
    return BlockOf(handle)->bytes.size();
}

PF_Err PlatformData(PF_ProgPtr, PF_PlatDataID which, void* data) {
    if (which == PF_PlatData_EXE_FILE_PATH_DEPRECATED)
        std::strcpy(static_cast<char*>(data), "/host/plug-ins/Velorin.aex");
    return PF_Err_NONE;
}

SPErr Acquire(const char* name, std::int32_t, const void** suite) {
    const auto found = current->suites.find(name);
    if (found == current->suites.end()) return 1;
    *suite = found->second;
    ++current->suitesOut;
    return 0;
}
SPErr Release(const char*, std::int32_t) {
    --current->suitesOut;
    return 0;
}

} // namespace

FakeHost::FakeHost() {
    current = this;
    in.inter.checkout_param = Checkout;
    in.inter.checkin_param = Checkin;
    in.inter.add_param = AddParam;
    in.inter.register_ui = Register;
    in.inter.abort = Abort;
    in.inter.progress = Progress;
    utils_.host_new_handle = ::NewHandle;
    utils_.host_lock_handle = Lock;
    utils_.host_unlock_handle = Unlock;
    utils_.host_dispose_handle = DisposeHandle;
    utils_.host_get_handle_size = SizeOf;
    utils_.get_platform_data = PlatformData;
    basic_.AcquireSuite = Acquire;
    basic_.ReleaseSuite = Release;
    in.utils = &utils_;
    in.pica_basicP = &basic_;
    in.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
    in.width = 160;
    in.height = 90;
    in.time_scale = 24;
    in.time_step = in.local_time_step = 1;
    in.total_time = 240;
    in.downsample_x = in.downsample_y = in.pixel_aspect_ratio = {1, 1};
}

FakeHost::~FakeHost() {
    for (const PF_Handle handle : alive) { // the rows' values
        if (velorin::SceneValue* value = velorin::SceneValueIn(BlockOf(handle)->memory))
            std::destroy_at(value);
        delete BlockOf(handle);
    }
    current = nullptr;
}

void FakeHost::OfferReceipts() {
    paramUtils_.PF_GetCurrentState = [](PF_ProgPtr, PF_ParamIndex, const A_Time*, const A_Time*,
                                        PF_State* state) -> PF_Err {
        *state = {{current->receipt, 0, 0, 0}};
        return PF_Err_NONE;
    };
    paramUtils_.PF_AreStatesIdentical = [](PF_ProgPtr, const PF_State* a, const PF_State* b,
                                           A_Boolean* same) -> PF_Err {
        *same = a->reserved[0] == b->reserved[0];
        return PF_Err_NONE;
    };
    suites[kPFParamUtilsSuite] = &paramUtils_;
}

PF_Err FakeHost::Send(PF_Cmd command, void* extra) {
    out = {};
    out.global_data = in.global_data;
    out.sequence_data = in.sequence_data;
    const PF_Err error = velorin::EnterPlugin(command, &in, &out, nullptr, extra);
    in.global_data = out.global_data;
    in.sequence_data = out.sequence_data;
    return error;
}

PF_Err FakeHost::Start() {
    const PF_Err error = Send(PF_Cmd_GLOBAL_SETUP);
    return error != PF_Err_NONE ? error : Send(PF_Cmd_PARAMS_SETUP);
}

PF_ParamIndex FakeHost::Index(std::uint32_t diskId) const {
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i].uu.id == static_cast<A_long>(diskId)) return static_cast<PF_ParamIndex>(i + 1);
    throw std::out_of_range("no such row");
}

PF_ParamDef& FakeHost::Row(std::uint32_t diskId) {
    return rows[static_cast<std::size_t>(Index(diskId) - 1)];
}

PF_Handle FakeHost::NewHandle(std::size_t size) {
    return ::NewHandle(size);
}

std::vector<std::byte> FakeHost::BytesOf(PF_Handle handle) const {
    return BlockOf(handle)->bytes;
}

PF_Handle FakeHost::HandleOf(const std::vector<std::byte>& bytes) {
    const PF_Handle handle = NewHandle(bytes.size());
    std::copy(bytes.begin(), bytes.end(), BlockOf(handle)->bytes.begin());
    return handle;
}

void FakeHost::Dispose(PF_Handle handle) {
    DisposeHandle(handle);
}

// ---- frames

namespace {

PF_Err CheckoutLayer(PF_ProgPtr, PF_ParamIndex index, A_long id, const PF_RenderRequest*, A_long, A_long,
                     A_u_long, PF_CheckoutResult* result) {
    currentFrame->declared.push_back(id);
    *result = {};
    if (index == 0) {
        result->ref_width = current->in.width;
        result->ref_height = current->in.height;
        result->result_rect = result->max_result_rect = {0, 0, current->in.width, current->in.height};
    }
    return PF_Err_NONE;
}

} // namespace

FakeFrame::FakeFrame(FakeHost& host, int width, int height)
    : host_(host), width_(width), height_(height), rowBytes_(static_cast<std::size_t>(width * 4 + 48)) {
    const std::size_t bytes = rowBytes_ * static_cast<std::size_t>(height);
    output_.resize(bytes);
    input_.resize(bytes);
    outputWorld_.width = width;
    outputWorld_.height = height;
    outputWorld_.rowbytes = static_cast<A_long>(rowBytes_);
    inputWorld_ = outputWorld_;
    outputWorld_.data = reinterpret_cast<PF_PixelPtr>(output_.data());
    inputWorld_.data = reinterpret_cast<PF_PixelPtr>(input_.data());
}

PF_Err FakeFrame::Render() {
    currentFrame = this;
    PF_PreRenderInput preInput{};
    preInput.output_request.rect = {0, 0, width_, height_};
    preInput.output_request.channel_mask = PF_ChannelMask_ARGB;
    preInput.bitdepth = 8;
    PF_PreRenderOutput preOutput{};
    PF_PreRenderCallbacks preCallbacks{CheckoutLayer, nullptr};
    PF_PreRenderExtra preExtra{&preInput, &preOutput, &preCallbacks};
    PF_Err error = host_.Send(PF_Cmd_SMART_PRE_RENDER, &preExtra);
    if (error != PF_Err_NONE) return error;
    resultRect = preOutput.result_rect;

    PF_SmartRenderInput input{};
    input.output_request = preInput.output_request;
    input.bitdepth = preInput.bitdepth;
    PF_SmartRenderCallbacks callbacks{};
    callbacks.checkout_layer_pixels = [](PF_ProgPtr, A_long id, PF_EffectWorld** pixels) -> PF_Err {
        FakeFrame& frame = *currentFrame;
        if (std::find(frame.declared.begin(), frame.declared.end(), id) == frame.declared.end() ||
            std::find(frame.taken.begin(), frame.taken.end(), id) != frame.taken.end())
            return PF_Err_BAD_CALLBACK_PARAM;
        frame.taken.push_back(id);
        *pixels = id == 0 ? &frame.inputWorld_ : &frame.noWorld_;
        return PF_Err_NONE;
    };
    callbacks.checkin_layer_pixels = [](PF_ProgPtr, A_long) -> PF_Err { return PF_Err_NONE; };
    callbacks.checkout_output = [](PF_ProgPtr, PF_EffectWorld** output) -> PF_Err {
        *output = &currentFrame->outputWorld_;
        return PF_Err_NONE;
    };
    PF_SmartRenderExtra extra{&input, &callbacks};
    error = host_.Send(PF_Cmd_SMART_RENDER, &extra);
    currentFrame = nullptr;
    return error;
}

int FakeFrame::At(int x, int y, int c) const {
    const std::size_t column = 4 * static_cast<std::size_t>(x) + static_cast<std::size_t>(c);
    return std::to_integer<int>(output_[static_cast<std::size_t>(y) * rowBytes_ + column]);
}

std::size_t FakeFrame::PixelsDrawn() const {
    std::size_t count = 0;
    for (int y = 0; y < height_; ++y)
        for (int x = 0; x < width_; ++x) count += At(x, y, 0) > 0;
    return count;
}

double FakeFrame::Coverage() const {
    double sum = 0;
    for (int y = 0; y < height_; ++y)
        for (int x = 0; x < width_; ++x) sum += At(x, y, 0);
    return sum / 255;
}
