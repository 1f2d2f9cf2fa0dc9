#include "app/project/Diagnostics.h"

#include "app/project/Json.h"

namespace velorin::app {

std::string TextSource::Place(std::size_t offset) const {
    if (kind_ == Kind::Argument) return name_ + ": ";
    const TextPlace place = PlaceOf(text_, offset);
    return name_ + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": ";
}

void TextSource::Error(std::size_t offset, const std::string& reason) const {
    diagnostics_.errors.push_back(Place(offset) + reason);
}

void TextSource::Warn(std::size_t offset, const std::string& reason) const {
    diagnostics_.warnings.push_back(Place(offset) + reason);
}

} // namespace velorin::app
