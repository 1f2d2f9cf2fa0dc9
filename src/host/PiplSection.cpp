#include "host/Pipl.h"

// The property list in a section of its own, where a host finds it without loading the module.

namespace {

[[gnu::section(".pipl"), gnu::used]] constexpr velorin::PiplBytes kPipl = velorin::MakePipl();

} // namespace
