#pragma once

#include "host/api/HostApi.h"

#include <cstddef>
#include <cstdint>
#include <utility>

// Memory that the host owns or keeps for us.
namespace velorin {

// Holds a handle locked while it lives.
class HandleLock {
public:
    HandleLock(const PF_UtilCallbacks* utils, PF_Handle handle) : utils_(utils), handle_(handle) {
        if (handle_) memory_ = utils_->host_lock_handle(handle_);
    }
    ~HandleLock() { Unlock(); }
    HandleLock(const HandleLock&) = delete;
    HandleLock& operator=(const HandleLock&) = delete;

    // Null for a null handle, and when the host could not lock.
    [[nodiscard]] void* memory() const { return memory_; }
    template <class T>
    [[nodiscard]] T* as() const {
        return static_cast<T*>(memory_);
    }
    void Unlock() {
        if (handle_) utils_->host_unlock_handle(std::exchange(handle_, nullptr));
        memory_ = nullptr;
    }

private:
    const PF_UtilCallbacks* utils_;
    PF_Handle handle_;
    void* memory_ = nullptr;
};

// A parameter taken out of the host at a time, given back when this dies. `def` is zero where the host
// refused.
class ParamCheckout {
public:
    ParamCheckout(const PF_InData& in, PF_ParamIndex index, A_long time) : in_(in) {
        done_ = in.inter.checkout_param(in.effect_ref, index, time, in.time_step, in.time_scale, &def) ==
                PF_Err_NONE;
    }
    ~ParamCheckout() {
        if (done_) in_.inter.checkin_param(in_.effect_ref, &def);
    }
    ParamCheckout(const ParamCheckout&) = delete;
    ParamCheckout& operator=(const ParamCheckout&) = delete;

    [[nodiscard]] bool done() const { return done_; }

    PF_ParamDef def{};

private:
    const PF_InData& in_;
    bool done_ = false;
};

} // namespace velorin
