#pragma once

#include "core/document/ChunkFile.h"
#include "core/document/FieldTable.h"
#include "core/document/Scene.h"

#include <string>

namespace velorin::test {

// Gives every field of the table, but for lists, a value that is not its default and, as far as the field's
// kind allows, differs from those of its neighbours. Labelled fields get a number that has a label.
void Scramble(const FieldTable& table, void* record, std::uint32_t seed);

// Materials, folders and one model of every stored type, each field of each record with a value of its own.
void FillScene(Scene& scene);

// The chunks of a document from `first` on as "tag:bytes ".
[[nodiscard]] std::string LayoutOf(Bytes document, const ContainerForm& form, std::uint32_t first = 0);

} // namespace velorin::test
