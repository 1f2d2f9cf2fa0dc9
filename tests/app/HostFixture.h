#pragma once

#include "app/host/Host.h"
#include "app/project/ProjectReader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace velorin::app {

inline Project ProjectFromText(const std::string& text) {
    Diagnostics diagnostics;
    auto project = ReadProjectText("test.json", text, diagnostics);
    EXPECT_TRUE(project) << (diagnostics.errors.empty() ? "" : diagnostics.errors.front());
    return project ? std::move(*project) : Project();
}

// The test plug-in in the host, with one fault or none.
inline std::unique_ptr<Host> StartTestPlugin(const std::string& fault, const HostOptions& options,
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

inline std::string Joined(const std::vector<std::string>& sentences) {
    std::string text;
    for (const std::string& sentence : sentences) text += sentence + '\n';
    return text;
}

inline const ParameterRow& RowNamed(const Host& host, const std::string& name) {
    std::string reason;
    const ParameterRow* row = host.rows().Resolve(name, reason);
    EXPECT_TRUE(row) << reason;
    return *row;
}

} // namespace velorin::app
