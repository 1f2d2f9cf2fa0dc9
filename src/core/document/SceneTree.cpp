#include "core/document/Scene.h"

namespace velorin {

namespace {

class TreeBuilder {
public:
    void Place(const Ref<SceneModel>& model) {
        FindPlace(model);
        if (model->type == ModelType::Folder && open_.size() < kDeepestFolder) open_.push_back(model.get());
    }
    [[nodiscard]] std::vector<Ref<SceneModel>> TakeTop() { return std::move(top_); }

private:
    static void Attach(SceneModel& folder, const Ref<SceneModel>& model) {
        folder.children.push_back(model);
        model->parent = &folder;
    }

    void FindPlace(const Ref<SceneModel>& model) {
        const std::uint32_t depth = model->depth;
        if (open_.empty()) {
            if (depth == 0) top_.push_back(model);
            return;
        }
        if (depth > open_.back()->depth) {
            Attach(*open_.back(), model);
            return;
        }
        if (depth == open_.back()->depth) {
            open_.pop_back();
            if (depth == 0 || open_.empty())
                top_.push_back(model);
            else
                Attach(*open_.back(), model);
            return;
        }
        while (!open_.empty() && open_.back()->depth > depth) open_.pop_back();
        if (!open_.empty()) open_.pop_back();
        if (!open_.empty())
            Attach(*open_.back(), model);
        else if (depth == 0)
            top_.push_back(model);
    }

    std::vector<Ref<SceneModel>> top_;
    std::vector<SceneModel*> open_; // folders that later models may stand in, outermost first
};

} // namespace

std::vector<Ref<SceneModel>> RebuildTree(const std::vector<Ref<SceneModel>>& models) {
    TreeBuilder builder;
    for (const Ref<SceneModel>& model : models) builder.Place(model);
    // Only now, since the places are found by the depths as stored. A folder stands before what it holds.
    for (const Ref<SceneModel>& model : models) model->depth = model->parent ? model->parent->depth + 1 : 0;
    return builder.TakeTop();
}

} // namespace velorin
