#include "app/command/Ask.h"
#include "app/command/Commands.h"
#include "app/command/Table.h"

#include "services/SafeFile.h"
#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

bool Create(Host& host, const Arguments& options, Console& console) {
    const auto answer =
        Ask(host,
            {{"do", "bundleCreate"},
             {"folder", options.input},
             {"file", options.output},
             {"id", options.id.empty() ? std::filesystem::path(options.output).stem().string() : options.id}},
            {}, {}, console);
    if (!answer) return false;
    for (const auto& file : answer->value("skipped", ordered_json::array()))
        console.Warn(options.input + "/" + file.value("name", std::string()) + ": left out, as it " +
                     file.value("reason", std::string()));
    const int items = answer->value("items", 0);
    std::printf("%s: %d %s\n", options.output.c_str(), items, items == 1 ? "item" : "items");
    return true;
}

bool List(Host& host, const Arguments& options, Console& console) {
    const auto answer =
        Ask(host, {{"do", "bundleList"}, {"file", options.input}}, {}, options.input, console);
    if (!answer) return false;
    if (options.json)
        std::printf("%s\n", answer->dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
    else
        std::printf("%s", TableText((*answer)["items"]).c_str());
    return true;
}

bool Extract(Host& host, const Arguments& options, Console& console) {
    const auto bytes =
        AskRaw(host, {{"do", "bundleExtract"}, {"file", options.input}, {"entry", options.entry}},
               options.input, console);
    if (!bytes) return false;
    std::string error;
    if (WriteFileSafely(options.output, std::as_bytes(std::span(*bytes)), error)) return true;
    console.Error(error);
    return false;
}

// Runs one of them with the module.
int Run(const Arguments& options, bool (*action)(Host&, const Arguments&, Console&), Console& console) {
    Session session;
    session.host = StartHost(options.session, console);
    if (!session.host) return kFailed;
    const bool done = action(*session.host, options, console);
    return session.Close(console) && done ? kDone : kFailed;
}

} // namespace

int RunBundleCreate(const Arguments& options) {
    Console console(false);
    if (SmallExtension(options.output) != ".qbndl") {
        console.Error("-o " + options.output + ": a bundle is a .qbndl file");
        return kWrongUsage;
    }
    return Run(options, Create, console);
}

int RunBundleList(const Arguments& options) {
    Console console(false);
    return Run(options, List, console);
}

int RunBundleExtract(const Arguments& options) {
    Console console(false);
    return Run(options, Extract, console);
}

} // namespace velorin::app
