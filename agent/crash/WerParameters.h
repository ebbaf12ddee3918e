#pragma once

#include "WerExports.h"

// Gives a report its eight parameters: name, version and time stamp of the program and of the module that the
// fault happened in, the exception's code and its offset in that module. A refused one is passed over.
void SetReportParameters(const WerExports& wer, HREPORT report, const EXCEPTION_RECORD& fault);
