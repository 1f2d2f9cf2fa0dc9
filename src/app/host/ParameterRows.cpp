#include "app/host/ParameterRows.h"

#include "app/project/NearestName.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

namespace velorin::app {

namespace {

struct KindName {
    PF_ParamType type;
    const char* name;
};
constexpr KindName kKindNames[] = {
    {PF_Param_LAYER, "layer"},       {PF_Param_ANGLE, "angle"},        {PF_Param_CHECKBOX, "check"},
    {PF_Param_COLOR, "color"},       {PF_Param_POINT, "point"},        {PF_Param_POPUP, "popup"},
    {PF_Param_NO_DATA, "control"},   {PF_Param_FLOAT_SLIDER, "float"}, {PF_Param_ARBITRARY_DATA, "arbitrary"},
    {PF_Param_GROUP_START, "group"}, {PF_Param_GROUP_END, "end"},
};

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

// Whether `path` ends in `key` at the border of a name.
bool EndsInPath(const std::string& path, std::string_view key) {
    return path.size() >= key.size() && path.compare(path.size() - key.size(), key.size(), key) == 0 &&
           (path.size() == key.size() || path[path.size() - key.size() - 1] == '/');
}

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

} // namespace

const char* ParameterRow::kindName() const {
    for (const KindName& kind : kKindNames)
        if (kind.type == type()) return kind.name;
    return "";
}

bool ParameterRow::hasValue() const {
    return type() != PF_Param_GROUP_START && type() != PF_Param_GROUP_END && type() != PF_Param_NO_DATA;
}

bool ParameterRows::Add(PF_ParamIndex index, const PF_ParamDef& def) {
    if (index != -1) return false;
    ParameterRow row;
    row.def = def;
    if (!*row.kindName()) return false;
    row.index = count() + 1;
    row.diskId = def.uu.id;
    const auto* end = std::find(std::begin(def.PF_DEF_NAME), std::end(def.PF_DEF_NAME), '\0');
    row.name.assign(std::begin(def.PF_DEF_NAME), end);
    if (row.type() == PF_Param_POPUP) {
        if (const char* names = def.u.pd.u.PF_DEF_NAMESPTR) row.choices = Split(names, '|');
        row.def.u.pd.u.PF_DEF_NAMESPTR = nullptr;
    } else if (row.type() == PF_Param_CHECKBOX) {
        if (const char* label = def.u.bd.u.PF_DEF_NAMEPTR) row.label = label;
        row.def.u.bd.u.PF_DEF_NAMEPTR = nullptr;
    }
    if (row.type() == PF_Param_GROUP_END) {
        if (openGroups_.empty())
            unbalanced_ = true;
        else
            openGroups_.pop_back();
    }
    for (const std::string& group : openGroups_) row.path += group + '/';
    row.path += row.name;
    if (row.type() == PF_Param_GROUP_START) openGroups_.push_back(row.name);
    rows_.push_back(std::move(row));
    return true;
}

void ParameterRows::Finish(int declared, std::vector<std::string>& faults,
                           std::vector<std::string>& warnings) {
    if (declared != count() + 1)
        faults.push_back("it declares " + std::to_string(declared) + " parameters and added " +
                         std::to_string(count()) + " (with the input layer " + std::to_string(count() + 1) +
                         ")");
    if (unbalanced_ || !openGroups_.empty()) faults.emplace_back("its groups of parameters are not balanced");
    std::map<int, const ParameterRow*> ids;
    for (ParameterRow& row : rows_) {
        const std::string what =
            "the parameter " + Quoted(row.name) + " (disk id " + std::to_string(row.diskId) + ")";
        if (row.name.size() > PF_MAX_EFFECT_PARAM_NAME_LEN)
            faults.push_back(what + " has a name of more than 31 bytes");
        if (row.diskId != 0)
            if (const auto [at, fresh] = ids.emplace(row.diskId, &row); !fresh)
                faults.push_back(what + " has the disk id of " + Quoted(at->second->name));
        if (row.type() == PF_Param_POPUP) {
            PF_PopupDef& popup = row.def.u.pd;
            if (popup.num_choices != static_cast<int>(row.choices.size()))
                faults.push_back(what + " declares " + std::to_string(popup.num_choices) +
                                 " choices and names " + std::to_string(row.choices.size()));
            if (popup.dephault < 1 || popup.dephault > popup.num_choices) {
                warnings.push_back(what + " has the default " + std::to_string(popup.dephault) + " of " +
                                   std::to_string(popup.num_choices) + " choices, taken as 1");
                popup.dephault = 1;
            }
        } else if (row.type() == PF_Param_FLOAT_SLIDER) {
            const PF_FloatSliderDef& slider = row.def.u.fs_d;
            if (!(slider.dephault >= slider.valid_min && slider.dephault <= slider.valid_max))
                faults.push_back(what + " has a default outside its valid range");
        }
    }
}

const ParameterRow* ParameterRows::At(int index) const {
    return index >= 1 && index <= count() ? &rows_[static_cast<std::size_t>(index - 1)] : nullptr;
}

const ParameterRow* ParameterRows::Resolve(std::string_view key, std::string& reason) const {
    const std::string shown = Quoted(std::string(key));
    int id = 0;
    const auto [stop, fault] = std::from_chars(key.data(), key.data() + key.size(), id);
    if (fault == std::errc{} && stop == key.data() + key.size()) {
        for (const ParameterRow& row : rows_)
            if (row.diskId == id && row.hasValue()) return &row;
        reason = "no parameter has the disk id " + std::string(key);
        return nullptr;
    }
    std::vector<const ParameterRow*> found;
    for (const ParameterRow& row : rows_)
        if (row.hasValue() && EndsInPath(row.path, key)) found.push_back(&row);
    // A whole path says more than the end of a longer one.
    if (found.size() > 1)
        for (const ParameterRow* row : found)
            if (row->path == key) return row;
    if (found.size() == 1) return found.front();
    if (found.size() > 1) {
        reason = shown + " names " + std::to_string(found.size()) + " parameters, such as " +
                 Quoted(found[0]->path) + " (" + std::to_string(found[0]->diskId) + ") and " +
                 Quoted(found[1]->path) + " (" + std::to_string(found[1]->diskId) + ")";
        return nullptr;
    }
    const bool isPath = key.find('/') != std::string_view::npos;
    std::vector<std::string> names;
    for (const ParameterRow& row : rows_)
        if (row.hasValue()) names.push_back(isPath ? row.path : row.name);
    std::string hint = NearestHint(key, names);
    if (hint.empty() && isPath) hint = NearestHint(key.substr(key.rfind('/') + 1), names);
    reason = "unknown parameter " + shown + hint;
    return nullptr;
}

} // namespace velorin::app
