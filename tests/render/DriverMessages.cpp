#include "render/DriverMessages.h"

#include "platform/Environment.h"
#include "render/gl/GLError.h"

#include <gtest/gtest.h>

namespace velorin::test {

namespace {

unsigned forgiven = 0;

class Listener : public testing::EmptyTestEventListener {
public:
    Listener() { SetEnvironmentVariable("VELORIN_GL_DEBUG", "1"); }
    void OnTestStart(const testing::TestInfo&) override { ForgiveDriverMessages(); }
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(gl::SevereMessages(), forgiven) << "the driver complained, see \"GL:\" above";
    }
};

// gtest owns it.
[[maybe_unused]] const bool listening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new Listener);
    return true;
}();

} // namespace

void ForgiveDriverMessages() {
    forgiven = gl::SevereMessages();
}

} // namespace velorin::test
