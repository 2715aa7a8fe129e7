#include "sim/machine/currentmachine.h"

namespace {

Machine* s_machine = nullptr;

}  // namespace

Machine& CurrentMachine() { return *s_machine; }

void SetCurrentMachine(Machine& machine) { s_machine = &machine; }
