#pragma once

#include "core/document/FieldTable.h"
#include "core/document/Scene.h"

namespace velorin::test {

// Gives every field of the table, but for lists, a value that is not its default and, as far as the field's
// kind allows, differs from those of its neighbours. Labelled fields get a number that has a label.
void Scramble(const FieldTable& table, void* record, std::uint32_t seed);

// Materials, folders and one model of every stored type, each field of each record with a value of its own.
void FillScene(Scene& scene);

} // namespace velorin::test
