#pragma once

#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/gl/GLError.h"

#include <gtest/gtest.h>

namespace velorin::test {

// The one renderer of the test program, started on first use. Its driver's messages of high severity are
// counted.
Renderer& SharedRenderer();
int SevereDriverMessages();

// A test that draws: the context is current, and afterwards neither an error nor a severe message of the
// driver stands.
class RendererTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    Renderer& renderer() { return SharedRenderer(); }
    // For a test that makes the driver complain on purpose.
    void ForgetDriverMessages() { messagesBefore_ = SevereDriverMessages(); }

private:
    int messagesBefore_ = 0;
};

} // namespace velorin::test
