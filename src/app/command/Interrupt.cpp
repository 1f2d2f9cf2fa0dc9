#include "app/command/Interrupt.h"

#include <csignal>

namespace velorin::app {

namespace {
volatile std::sig_atomic_t asked = 0;

void OnInterrupt(int signal) {
    asked = 1;
    std::signal(signal, SIG_DFL);
}
} // namespace

void CatchInterrupts() {
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

bool InterruptAsked() {
    return asked != 0;
}

} // namespace velorin::app
