#include "app/command/Ask.h"

#include "app/project/NearestName.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace velorin::app {

namespace {

using nlohmann::ordered_json;

std::optional<std::string> AskText(Host& host, const ordered_json& request, Bytes payload,
                                   const std::string& subject, Console& console, EffectInstance* effect) {
    std::string reason;
    auto text = host.Introspect(effect, request.dump(-1, ' ', false, ordered_json::error_handler_t::replace),
                                payload, reason);
    if (!text) console.Error((subject.empty() ? "" : subject + ": ") + reason);
    return text;
}

void TellRefusal(const ordered_json& answer, const ordered_json& request, const std::string& subject,
                 Console& console) {
    std::string sentence = answer["error"].is_string() ? answer["error"].get<std::string>() : "refused";
    if (const auto names = answer.find("names"); names != answer.end() && names->is_array()) {
        std::vector<std::string> known;
        for (const auto& name : *names)
            if (name.is_string()) known.push_back(name.get<std::string>());
        const std::string at = answer.value("at", std::string());
        sentence += NearestHint(request.value(at.empty() ? at : at.substr(1), std::string()), known);
    }
    const std::string file = request.value("file", std::string());
    const bool named = subject.empty() || (!file.empty() && sentence.starts_with(file));
    console.Error(named ? sentence : subject + ": " + sentence);
}

} // namespace

std::optional<ordered_json> Ask(Host& host, const ordered_json& request, Bytes payload,
                                const std::string& subject, Console& console, EffectInstance* effect) {
    const auto text = AskText(host, request, payload, subject, console, effect);
    if (!text) return std::nullopt;
    ordered_json answer = ordered_json::parse(*text, nullptr, false);
    if (answer.is_discarded()) {
        console.Error("the plug-in's answer cannot be read");
        return std::nullopt;
    }
    if (answer.is_object() && answer.contains("error")) {
        TellRefusal(answer, request, subject, console);
        return std::nullopt;
    }
    return answer;
}

std::optional<std::string> AskRaw(Host& host, const ordered_json& request, const std::string& subject,
                                  Console& console) {
    auto text = AskText(host, request, {}, subject, console, nullptr);
    if (!text) return std::nullopt;
    if (!text->empty() && text->front() == kRawReplyMark) {
        text->erase(0, 1);
        return text;
    }
    const ordered_json answer = ordered_json::parse(*text, nullptr, false);
    if (answer.is_object() && answer.contains("error"))
        TellRefusal(answer, request, subject, console);
    else
        console.Error("the plug-in's answer cannot be read");
    return std::nullopt;
}

std::optional<std::string> FlatSceneOf(Host& host, const std::string& subject, Console& console) {
    const ParameterRow* row = host.arbitraryRow();
    const auto comps = host.comps();
    std::string flat;
    if (row && !comps.empty() && !comps.front()->effects.empty() &&
        host.FlatArbitrary(*comps.front()->effects.front(), *row, flat))
        return flat;
    console.Error(subject + ": the project has no scene");
    return std::nullopt;
}

} // namespace velorin::app
