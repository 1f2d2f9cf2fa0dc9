#include "app/project/ProjectReader.h"

#include "services/Library.h"
#include "services/StringConversion.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace velorin::app {

namespace fs = std::filesystem;

std::string PathForProject(const std::string& file, const std::string& folder) {
    std::error_code ignored;
    const fs::path absolute = fs::absolute(file, ignored).lexically_normal();
    const std::string relative = absolute.lexically_relative(folder).generic_string();
    return relative.empty() || relative.size() > absolute.string().size() ? absolute.string() : relative;
}

namespace {

// Every "path" below a node.
void ShortenPaths(nlohmann::ordered_json& node, const std::string& folder) {
    if (node.is_object())
        if (const auto path = node.find("path"); path != node.end() && path->is_string()) {
            const auto text = path->get<std::string>();
            if (fs::path(text).is_absolute()) *path = PathForProject(text, folder);
        }
    if (node.is_structured())
        for (auto& child : node) ShortenPaths(child, folder);
}

bool IsVectorFile(const std::string& file) {
    const std::string extension = SmallExtension(file);
    return extension == ".pdf" || extension == ".ai";
}

} // namespace

std::string ProjectTextForScene(nlohmann::ordered_json scene, std::size_t count, const std::string& folder,
                                double durationSeconds, SizeOverride size) {
    using nlohmann::ordered_json;
    constexpr int kUsualWidth = 1280, kUsualHeight = 720;
    constexpr double kUsualParticleSize = 10;
    const int width = size.width > 0 ? size.width : kUsualWidth,
              height = size.width > 0 ? size.height : kUsualHeight;
    // The default camera's distance grows with the width; the picture's shorter side holds the model.
    const double largest = kUsualParticleSize * std::min(static_cast<double>(width) / kUsualWidth,
                                                         static_cast<double>(height) / kUsualHeight);
    ordered_json project;
    project["velorin"] = 1;
    project["composition"] = {
        {"width", width}, {"height", height}, {"frameRate", 24}, {"duration", durationSeconds}, {"depth", 8}};
    ordered_json parameters = ordered_json::object();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string group = std::to_string(i + 1) + ". ";
        if (count == 1) {
            if (largest != kUsualParticleSize) parameters[group + "Particle Size"] = largest;
            break;
        }
        // Side by side with a quarter of each place left free.
        const double place = static_cast<double>(width) / static_cast<double>(count);
        parameters[group + "Position XY"] = {place * (static_cast<double>(i) + 0.5), height / 2.0};
        parameters[group + "Particle Size"] = std::min(largest, place * 0.75 / 50.0);
    }
    ShortenPaths(scene, folder);
    ordered_json effect;
    if (!parameters.empty()) effect["parameters"] = parameters;
    effect["scene"] = std::move(scene);
    project["effects"] = ordered_json::array({effect});
    // A name that is no UTF-8 is still written, with replacement characters.
    return project.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string ProjectTextForModels(const std::vector<std::string>& files, const std::string& folder,
                                 double durationSeconds, SizeOverride size) {
    // Shown at its normalised size, a model fills a cube whose half edge is 25 pixels times the particle
    // size: the default size of 10 suits one model in 720 lines.
    constexpr int kImportedFile = 2, kVectorFile = 7;
    nlohmann::ordered_json models = nlohmann::ordered_json::array();
    const std::size_t count = std::min(files.size(), kMostModels);
    for (std::size_t i = 0; i < count; ++i) {
        const auto entry = SplitBundlePath(files[i]);
        models.push_back({{"name", fs::path(entry ? entry->entry : files[i]).stem().string()},
                          {"type", IsVectorFile(files[i]) ? kVectorFile : kImportedFile},
                          {"path", PathForProject(files[i], folder)},
                          {"normalizeSize", true},
                          {"groups", {static_cast<int>(i) + 1}}});
    }
    return ProjectTextForScene({{"models", models}}, count, folder, durationSeconds, size);
}

} // namespace velorin::app
