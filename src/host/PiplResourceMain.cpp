#include "host/Pipl.h"

#include <cstdio>

// Prints the resource source of the property list; part of the Windows build.
int main() {
    return std::fputs(velorin::PiplResourceScript().c_str(), stdout) < 0 ? 1 : 0;
}
