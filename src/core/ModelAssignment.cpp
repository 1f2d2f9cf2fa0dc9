#include "core/ModelAssignment.h"

#include "core/BakedAnimation.h"
#include "core/Random.h"
#include "core/document/Scene.h"
#include "core/document/SceneModel.h"

#include <algorithm>

namespace velorin {
namespace {

std::size_t Wrap(std::int64_t value, std::size_t modulus) {
    const auto m = static_cast<std::int64_t>(modulus);
    const std::int64_t rest = value % m;
    return static_cast<std::size_t>(rest < 0 ? rest + m : rest);
}

// A model and everything below it, breadth first.
std::vector<const SceneModel*> BreadthFirst(const SceneModel& top) {
    std::vector<const SceneModel*> list{&top};
    for (std::size_t i = 0; i < list.size(); ++i)
        for (const auto& child : list[i]->children) list.push_back(child.get());
    return list;
}

} // namespace

std::vector<const SceneModel*> GroupModels(const FrameParams& params, std::size_t groupIndex) {
    std::vector<const SceneModel*> models;
    if (!params.scene) return models;
    for (const auto& model : params.scene->models)
        if (!model->replicatorSource && model->groups[groupIndex]) models.push_back(model.get());
    return models;
}

std::vector<std::uint32_t> ChooseModels(const GroupParams& group, std::size_t models, std::size_t count) {
    std::vector<std::uint32_t> chosen(count);
    Random random(group.randomSeed);
    std::int64_t offset = group.particleOffset;
    if (group.order == ParticleOrder::Random && offset >= 1) random.Skip(static_cast<std::uint64_t>(offset));
    const std::uint32_t repeat = std::max(group.particleRepeat, 1u);
    std::uint32_t left = 0;
    std::size_t index = 0;
    for (std::uint32_t& model : chosen) {
        if (left == 0) {
            left = repeat;
            const std::size_t backwards = Wrap(offset, models);
            switch (group.order) {
            case ParticleOrder::Forward:
                index = models - 1 - backwards;
                break;
            case ParticleOrder::Backwards:
                index = backwards;
                break;
            case ParticleOrder::Mirror:
                index = Wrap(offset, 2 * models) >= models ? backwards : models - 1 - backwards;
                break;
            case ParticleOrder::Random:
                index = random.Draw() % models;
                break;
            }
            ++offset;
        }
        --left;
        model = static_cast<std::uint32_t>(index);
    }
    return chosen;
}

std::uint64_t AssignModels(const GroupParams& group, std::span<const SceneModel* const> models,
                           std::size_t count, std::uint64_t memory, GroupSlots& slots) {
    slots.Clear();
    if (models.empty() || count == 0) {
        slots.first.assign(count + 1, 0);
        return 0;
    }
    const std::vector<std::uint32_t> chosen = ChooseModels(group, models.size(), count);
    std::vector<std::vector<const SceneModel*>> trees;
    trees.reserve(models.size());
    for (const SceneModel* model : models) trees.push_back(BreadthFirst(*model));

    std::vector<std::uint32_t> firstOfTree;
    std::uint32_t walked = 0;
    for (const auto& tree : trees) {
        firstOfTree.push_back(walked);
        walked += static_cast<std::uint32_t>(tree.size());
    }
    std::uint64_t entries = 0;
    for (const std::uint32_t model : chosen) entries += trees[model].size();
    const std::uint64_t bytes = entries * sizeof(SlotModel) + (count + 1) * sizeof(std::uint32_t);
    if (bytes > memory || entries > 0xffffffffu) return bytes;

    slots.first.reserve(count + 1);
    slots.slots.reserve(static_cast<std::size_t>(entries));
    Random random(group.baked.randomSeed);
    for (const std::uint32_t model : chosen) {
        slots.first.push_back(static_cast<std::uint32_t>(slots.slots.size()));
        std::uint32_t number = firstOfTree[model];
        for (const SceneModel* entry : trees[model])
            slots.slots.push_back({entry, BakedFrame(*entry, group.baked, random), number++});
    }
    slots.first.push_back(static_cast<std::uint32_t>(slots.slots.size()));
    return 0;
}

} // namespace velorin
