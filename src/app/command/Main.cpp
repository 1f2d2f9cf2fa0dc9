#include "app/command/Commands.h"

#include "services/CrashReport.h"

int main(int argc, char** argv) {
    velorin::InstallCrashReport();
    return velorin::app::RunCommand(argc, argv);
}
