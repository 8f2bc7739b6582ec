#pragma once

#include "mvtool/commands/Command.h"
#include "mvtool/doctor/Diagnosis.h"

namespace mv::tool {

/// Looks at all that a run works with and changes nothing.
Diagnoses DiagnoseAll(ToolContext& context);

/// A line each, and one that counts; the context's exit status is 1 when there are warnings and 2 when there are
/// failures.
void PrintDiagnoses(const Diagnoses& diagnoses, ToolContext& context);

}  // namespace mv::tool
