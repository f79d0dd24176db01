// The configuration file.

#include "frontend/configuration.h"
#include "engine.h"
#include "frontend/startup.h"
#include "position/settings.h"
#include "search/transposition.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ResetEngine();
    WriteInput("Quorvanth.ini", {AsText(data, size)});
    RunToItsEnd(ReadConfiguration);
    return 0;
}
