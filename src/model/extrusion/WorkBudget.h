#pragma once

#include <cstdint>

namespace velorin {

// What building may still cost, in steps of a few nanoseconds. One that is spent stays so: its user gives up
// and its result means nothing.
class WorkBudget {
public:
    explicit WorkBudget(std::uint64_t steps) : left_(steps) {}
    // False, and the budget is spent, when fewer steps than these are left.
    bool spend(std::uint64_t steps) {
        if (steps >= left_)
            left_ = 0;
        else
            left_ -= steps;
        return left_ > 0;
    }
    [[nodiscard]] bool spent() const { return left_ == 0; }

private:
    std::uint64_t left_;
};

} // namespace velorin
