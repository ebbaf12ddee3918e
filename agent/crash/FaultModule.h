#pragma once

#include "FaultText.h"

#include <windows.h>

// A module of this process, as the log and the report of a fault name it.
struct ModuleOfFault
{
    HMODULE module; // Weak.
    bool found;
    FaultText path; // whole; empty if the module was not found
};

// The program itself.
[[nodiscard]] ModuleOfFault ProgramModule();

// The module that holds the address. For an address outside of all modules it is not found, and the program's
// handle stands for it.
[[nodiscard]] ModuleOfFault ModuleAt(const void* address);

// Writes the name of the module's file, without its folder.
void WriteName(const ModuleOfFault& module, FaultText& text);

// Writes the distance of the address from the start of the module.
void WriteOffset(const ModuleOfFault& module, const void* address, FaultText& text);

// Writes the code of an exception.
void WriteCode(DWORD exceptionCode, FaultText& text);
