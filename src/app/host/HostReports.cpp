#include "app/host/HostReports.h"

#include "services/Log.h"

#include <algorithm>

namespace velorin::app {

void HostReports::Fault(const std::string& sentence) {
    Log("host: %s", sentence.c_str());
    if (std::find(faults_.begin(), faults_.end(), sentence) == faults_.end()) faults_.push_back(sentence);
}

void HostReports::Message(const std::string& sentence) {
    if (std::find(messages_.begin(), messages_.end(), sentence) == messages_.end())
        messages_.push_back(sentence);
}

} // namespace velorin::app
