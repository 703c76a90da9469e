#pragma once

// The writer side of `logsink --demo`: a copy of logsink started with --demo-writer N logs a few
// short and multi-block entries through the process's log source.
int RunDemoWriter(unsigned long ulNumber);

// Entries each demo writer sends.
const unsigned long kDemoEntries = 6;
