#include "app/command/Ask.h"
#include "app/command/Commands.h"
#include "app/command/Table.h"

#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstdio>
#include <filesystem>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

// "MODEL:N"; without a number the first bevel.
void SplitBevel(const std::string& text, std::string& model, int& number) {
    model = text;
    number = 1;
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) return;
    const auto [end, fault] = std::from_chars(text.data() + colon + 1, text.data() + text.size(), number);
    if (fault == std::errc{} && end == text.data() + text.size() && colon + 1 < text.size())
        model = text.substr(0, colon);
    else
        number = 1;
}

} // namespace

int RunPreset(const Arguments& options) {
    Console console(false);
    const int kinds = !options.model.empty() + !options.material.empty() + !options.bevel.empty();
    if (kinds != 1) {
        console.Error("preset: give one of --model, --material and --bevel");
        return kWrongUsage;
    }
    std::error_code ignored;
    ordered_json request{
        {"do", "savePreset"},
        {"file", std::filesystem::absolute(options.output, ignored).lexically_normal().string()}};
    const char* const extension = !options.model.empty()      ? ".qmx"
                                  : !options.material.empty() ? ".qmt"
                                                              : ".qbv";
    if (SmallExtension(options.output) != extension) {
        console.Error("-o " + options.output + ": this preset is a " + extension + " file");
        return kWrongUsage;
    }
    request["kind"] = !options.model.empty() ? "model" : !options.material.empty() ? "material" : "bevel";
    if (!options.bevel.empty()) {
        std::string model;
        int number = 1;
        SplitBevel(options.bevel, model, number);
        request["name"] = model;
        request["bevel"] = number;
    } else {
        request["name"] = !options.model.empty() ? options.model : options.material;
    }
    Session session;
    bool done = OpenSession(options.input, options.session, console, session);
    if (done) {
        const auto flat = FlatSceneOf(*session.host, options.input, console);
        const auto answer =
            flat ? Ask(*session.host, request, std::as_bytes(std::span(*flat)), options.input, console)
                 : std::nullopt;
        done = answer.has_value();
        if (done && answer->value("picture", ordered_json::array()) == ordered_json::array({0, 0}))
            console.Warn(options.output + ": written without a picture, because nothing could be drawn");
    }
    if (session.host && !session.Close(console)) return kFailed;
    return done ? kDone : kFailed;
}

} // namespace velorin::app
