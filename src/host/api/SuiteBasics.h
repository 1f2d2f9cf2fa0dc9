#pragma once

#include "host/api/Types.h"

// How suites are got: a name and a number, both of which must match. Every acquire is balanced by a release.

using SPErr = std::int32_t;

struct SPBasicSuite {
    SPErr (*AcquireSuite)(const char* name, std::int32_t version, const void** suite);
    SPErr (*ReleaseSuite)(const char* name, std::int32_t version);
    A_Boolean (*IsEqual)(const char* a, const char* b);
    SPErr (*AllocateBlock)(std::size_t size, void** block);
    SPErr (*FreeBlock)(void* block);
    SPErr (*ReallocateBlock)(void* block, std::size_t size, void** newBlock);
    SPErr (*Undefined)();
};
static_assert(sizeof(SPBasicSuite) == 56);
