#pragma once

#include "render/RenderSettings.h"
#include "render/Renderer.h"
#include "render/gl/GLError.h"

#include <gtest/gtest.h>

namespace velorin::test {

// The one renderer of the test program, started on first use.
Renderer& SharedRenderer();

// A test that draws: the context is current, and afterwards no error of the driver stands.
class RendererTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    Renderer& renderer() { return SharedRenderer(); }
};

} // namespace velorin::test
