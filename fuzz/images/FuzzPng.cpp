#include "FuzzImage.h"

VELORIN_FUZZ_DECODER(velorin::DecodePng)
