#pragma once

#include "app/CommandRunner.h"
#include "app/command/Session.h"
#include "app/host/Host.h"
#include "app/project/ProjectReader.h"

#include <cstdlib>
#include <memory>
#include <string>

namespace velorin::app {

inline std::string Joined(const std::vector<std::string>& sentences) {
    std::string text;
    for (const std::string& sentence : sentences) text += sentence + '\n';
    return text;
}

inline Project ProjectFromText(const std::string& text) {
    Diagnostics diagnostics;
    auto project = ReadProjectText("test.json", text, diagnostics);
    EXPECT_TRUE(project) << Joined(diagnostics.errors);
    return project ? std::move(*project) : Project();
}

// The test plug-in in the host, with one fault or none.
inline std::unique_ptr<Host> StartTestPlugin(const std::string& fault = {}, const HostOptions& options = {},
                                             std::string* error = nullptr) {
    setenv("VELORIN_TEST_FAULT", fault.c_str(), 1);
    std::string reason;
    auto host = Host::Start(VELORIN_TEST_PLUGIN, options, reason);
    if (error)
        *error = reason;
    else
        EXPECT_TRUE(host) << reason;
    return host;
}

// A composition with two effects.
inline constexpr const char* kTwoEffects = R"({"composition": {"width": 8, "height": 4, "duration": 1},
                                               "effects": [{}, {}]})";

inline const ParameterRow& RowNamed(const Host& host, const std::string& name) {
    std::string reason;
    const ParameterRow* row = host.rows().Resolve(name, reason);
    EXPECT_TRUE(row) << reason;
    return *row;
}

// The real plug-in in this process. What it did wrong is told when the test ends.
class SessionTest : public PluginTest {
protected:
    void TearDown() override {
        End();
        PluginTest::TearDown();
    }
    void End() {
        if (!session_.host) return;
        session_.host->Quit();
        EXPECT_EQ(Joined(session_.host->reports.faults()), "");
        session_ = {};
    }
    bool Open(const std::string& input, std::vector<std::string> settings = {}, HostOptions host = {}) {
        End();
        console_ = std::make_unique<Console>(true);
        return OpenSession(Path(input), {RealPlugin(), std::move(settings), {}, 0, std::move(host)},
                           *console_, session_);
    }
    json Ask(const json& request, const std::string& payload = {}) {
        std::string reason;
        const auto answer = session_.host->Introspect(&session_.host->instance(0), request.dump(),
                                                      std::as_bytes(std::span(payload)), reason);
        EXPECT_TRUE(answer) << reason;
        return json::parse(answer.value_or("null"), nullptr, false);
    }
    Picture Frame(int frame = 0, int depth = 8) {
        Picture picture;
        const HostResult result = session_.host->RenderFrame(frame, depth, picture);
        EXPECT_TRUE(result.good()) << result.text;
        return picture;
    }
    // Of group 1 at a frame.
    json Captured(const char* what, int frame = 0, int depth = 8) {
        Ask({{"do", "capture"}, {"what", {what}}, {"group", 1}});
        (void)Frame(frame, depth);
        return Ask({{"do", "captured"}})[what];
    }

    std::unique_ptr<Console> console_;
    Session session_;
};

} // namespace velorin::app
