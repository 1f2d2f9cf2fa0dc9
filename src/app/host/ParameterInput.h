#pragma once

#include "app/host/Comp.h"
#include "app/host/ParameterRows.h"
#include "app/project/Json.h"
#include "app/project/ObjectReader.h"

namespace velorin::app {

// Reads what a project writes for a row: a number, a choice by text or number, true or false, a colour, a
// point in pixels of the effect's layer, the name of a layer; or keyframes of these. Errors and clamped
// values go to `source`.
[[nodiscard]] bool ReadParameterValue(const TextSource& source, const ParameterRow& row, const JsonNode& node,
                                      const HostComp& comp, AnimatedValue& value);

// What a row has when the effect is applied.
[[nodiscard]] AnimatedValue DefaultValue(const ParameterRow& row, const HostComp& comp);

} // namespace velorin::app
