#include "frontend/interpreter.h"
#include "frontend/startup.h"

int main() {
    StartEngine();
    RunCommandLoop();
}
