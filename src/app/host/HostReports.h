#pragma once

#include <string>
#include <vector>

namespace velorin::app {

// What the plug-in did against the interface's rules, a sentence each that names the command. A fault that
// repeats in every frame is told once.
class HostReports {
public:
    void Fault(const std::string& sentence);
    // What the plug-in told the user without failing.
    void Message(const std::string& sentence);

    [[nodiscard]] const std::vector<std::string>& faults() const { return faults_; }
    [[nodiscard]] const std::vector<std::string>& messages() const { return messages_; }

private:
    std::vector<std::string> faults_;
    std::vector<std::string> messages_;
};

} // namespace velorin::app
