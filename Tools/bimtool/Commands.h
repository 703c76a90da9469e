#pragma once

#include "Options.h"

namespace BimTool {

// Each command returns the process exit code; failures of the library arrive as exceptions.
int Info(const Options& options);
int Verify(const Options& options);
int Create(const Options& options);
int Extract(const Options& options);
int Demo(const Options& options);

} // namespace BimTool
